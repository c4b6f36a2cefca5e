// Static assertions on every number, type and call of the platform that the
// plug-in uses. They hold for our own declarations and must hold for those of a
// real SDK, whose structures have more members in another order: so they test
// members by name, never sizes or offsets of structures.
#include <confd_cdb.h>
#include <confd_lib.h>
#include <confd_maapi.h>
#include <hostd/cdb_session.h>
#include <hostd/hostd.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>
#include <ids/limid.h>
#include <ids/vrf_id.h>
#include <netinet/in.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

namespace {

// The type of a member, whatever const the declaration puts on it.
template <typename T>
using Plain = std::remove_cv_t<std::remove_reference_t<T>>;

// Whether a call takes arguments of these types and its result converts to R.
// Conversions are allowed, so an additional typedef or const does no harm.
template <typename R, typename... Args, typename Function>
constexpr bool Answers(Function&&) {
  return std::is_invocable_r_v<R, Function, Args...>;
}

using Text = const char*;

// --- Return codes. -1 refuses. A read either succeeds or fails, so an end of
// file (-2) is a failure.
static_assert(CONFD_OK == 0, "success");
static_assert(CONFD_ERR == -1, "failure, and a validation's refusal");

// --- Types of values: of key path elements, cursor keys and leaves.
static_assert(std::is_enum_v<confd_vtype>, "the type of a value is an enum");
static_assert(C_NOEXISTS == 1, "end of a row of keys");
static_assert(C_XMLTAG == 2, "node in a key path");
static_assert(C_BUF == 5, "names and other text");
static_assert(C_INT32 == 8, "VLAN, prefix length of a static route");
static_assert(C_UINT32 == 12, "VRF identifier, OSPFv3 router");
static_assert(C_IPV4 == 15, "OSPFv3 area");
static_assert(C_ENUM_VALUE == 28, "address type of a static route");
static_assert(C_BINARY == 39, "addresses of a static route");

// --- confd_value_t: a type and a union, read member by member.
using Value = decltype(std::declval<confd_value_t&>().val);
static_assert(std::is_same_v<Plain<decltype(confd_value_t::type)>, confd_vtype>,
              "type of a value");
static_assert(
    std::is_same_v<Plain<decltype(std::declval<Value>().xmltag.tag)>, uint32_t>,
    "tag number of a node");
static_assert(std::is_convertible_v<decltype(std::declval<Value>().buf.ptr),
                                    const unsigned char*>,
              "octets of C_BUF and C_BINARY");
static_assert(
    std::is_unsigned_v<Plain<decltype(std::declval<Value>().buf.size)>>,
    "number of these octets");
static_assert(
    std::is_same_v<Plain<decltype(std::declval<Value>().i32)>, int32_t>,
    "C_INT32");
static_assert(
    std::is_same_v<Plain<decltype(std::declval<Value>().u32)>, uint32_t>,
    "C_UINT32");
static_assert(
    std::is_same_v<Plain<decltype(std::declval<Value>().enumvalue)>, int32_t>,
    "C_ENUM_VALUE");
static_assert(
    std::is_same_v<Plain<decltype(std::declval<Value>().ip)>, in_addr>,
    "C_IPV4");

// --- The same through the macros that check the type. In a function, because a
// macro may print the name of its function when the check fails.
[[maybe_unused]] void ReadersGiveTheTypesOfTheMembers(confd_value_t* v) {
  static_assert(std::is_same_v<Plain<decltype(CONFD_GET_XMLTAG(v))>, uint32_t>,
                "reader of C_XMLTAG");
  static_assert(std::is_convertible_v<decltype(CONFD_GET_BUFPTR(v)),
                                      const unsigned char*>,
                "reader of the text of C_BUF");
  static_assert(std::is_unsigned_v<Plain<decltype(CONFD_GET_BUFSIZE(v))>>,
                "reader of the size of C_BUF");
  static_assert(std::is_convertible_v<decltype(CONFD_GET_BINARY_PTR(v)),
                                      const unsigned char*>,
                "reader of the octets of C_BINARY");
  static_assert(std::is_unsigned_v<Plain<decltype(CONFD_GET_BINARY_SIZE(v))>>,
                "reader of the size of C_BINARY");
  static_assert(std::is_same_v<Plain<decltype(CONFD_GET_INT32(v))>, int32_t>,
                "reader of C_INT32");
  static_assert(std::is_same_v<Plain<decltype(CONFD_GET_UINT32(v))>, uint32_t>,
                "reader of C_UINT32");
  static_assert(
      std::is_same_v<Plain<decltype(CONFD_GET_ENUM_VALUE(v))>, int32_t>,
      "reader of C_ENUM_VALUE");
  static_assert(std::is_same_v<Plain<decltype(CONFD_GET_IPV4(v))>, in_addr>,
                "reader of C_IPV4");
}

// --- Addresses are octets in network order, of exactly the address's size.
static_assert(sizeof(in_addr) == 4, "an IPv4 address is four octets");
static_assert(sizeof(in6_addr) == 16, "an IPv6 address is sixteen octets");
static_assert(std::is_same_v<Plain<decltype(in_addr::s_addr)>, uint32_t>,
              "an IPv4 address is one 32-bit number");
static_assert(std::is_same_v<Plain<decltype(confd_ipv4_prefix::ip)>, in_addr>,
              "address of an IPv4 prefix");
static_assert(std::is_same_v<Plain<decltype(confd_ipv6_prefix::ip6)>, in6_addr>,
              "address of an IPv6 prefix");
static_assert(
    std::is_integral_v<decltype(confd_ipv4_prefix::len)> &&
        std::numeric_limits<decltype(confd_ipv4_prefix::len)>::digits <=
            std::numeric_limits<int32_t>::digits,
    "length of an IPv4 prefix fits an int32_t");
static_assert(
    std::is_integral_v<decltype(confd_ipv6_prefix::len)> &&
        std::numeric_limits<decltype(confd_ipv6_prefix::len)>::digits <=
            std::numeric_limits<int32_t>::digits,
    "length of an IPv6 prefix fits an int32_t");

// --- Key paths. The deepest element looked at is v[4], of a path of length 6.
using KeyPathRows = decltype(confd_hkeypath_t::v);
static_assert(std::is_same_v<Plain<decltype(confd_hkeypath_t::len)>, int>,
              "number of elements of a key path");
static_assert(
    std::is_same_v<std::remove_all_extents_t<KeyPathRows>, confd_value_t>,
    "element of a key path");
static_assert(std::rank_v<KeyPathRows> == 2, "a key path is rows of keys");
static_assert(std::extent_v<KeyPathRows> >= 6, "depth of a key path");
static_assert(MAXDEPTH >= 6, "depth of a key path");

// --- Cursors. A static route has six keys.
using CursorKeys = decltype(maapi_cursor::keys);
static_assert(MAXKEYLEN >= 6, "keys of a list entry");
static_assert(std::is_same_v<std::remove_extent_t<CursorKeys>, confd_value_t>,
              "key of a list entry");
static_assert(std::extent_v<CursorKeys> >= 6, "keys that a cursor holds");
static_assert(std::is_same_v<Plain<decltype(maapi_cursor::n)>, int>,
              "number of keys, 0 behind the last entry");

// --- The transaction context. Handle and user data come from the daemon and
// the host, the opaque text from the data model.
static_assert(std::is_same_v<Plain<decltype(confd_trans_ctx::thandle)>, int>,
              "transaction handle");
static_assert(std::is_same_v<Plain<decltype(confd_trans_ctx::v_opaque)>, void*>,
              "user data of the validation phase");
static_assert(
    std::is_same_v<Plain<decltype(confd_trans_ctx::vcb_opaque)>, void*>,
    "user data of the registration");
static_assert(
    std::is_convertible_v<decltype(confd_trans_ctx::validate_opaque), Text>,
    "opaque text of the use site");

// --- Answers to the transaction.
static_assert(Answers<void, confd_trans_ctx*, Text>(confd_trans_seterr),
              "error text that is its own format");
static_assert(Answers<void, confd_trans_ctx*, Text, Text>(confd_trans_seterr),
              "error text through %s");
static_assert(Answers<void, confd_trans_ctx*, Text, int32_t, int32_t, uint32_t,
                      Text>(confd_trans_seterr),
              "error text with numbers");

// --- Values.
static_assert(Answers<int, char*, int, const confd_value_t*>(confd_pp_value),
              "text of a value");
static_assert(Answers<void, confd_value_t*>(confd_free_value),
              "release of a value");

// --- Reads of a transaction: socket, handle, output, path format, arguments.
static_assert(Answers<int, int, int, Text>(maapi_exists),
              "existence of a constant path");
static_assert(Answers<int, int, int, Text, Text>(maapi_exists),
              "existence of a path through %s");
static_assert(Answers<int, int, int, Text>(maapi_num_instances),
              "number of entries of a list");
static_assert(Answers<int, int, int, confd_value_t*, Text>(maapi_get_elem),
              "leaf of any type at a constant path");
static_assert(
    Answers<int, int, int, confd_value_t*, Text, Text>(maapi_get_elem),
    "leaf of any type through %s");
static_assert(Answers<int, int, int, char*, int, Text, Text, uint32_t>(
                  maapi_get_str_elem),
              "VRF name of an OSPF process");
static_assert(
    Answers<int, int, int, int32_t*, Text, Text>(maapi_get_int32_elem),
    "VLAN of an l3 interface");
static_assert(Answers<int, int, int, uint8_t*, Text, Text, uint32_t, Text, Text,
                      Text>(maapi_get_u_int8_elem),
              "netmask of an OSPF interface");
static_assert(
    Answers<int, int, int, uint16_t*, Text, Text>(maapi_get_u_int16_elem),
    "router-advertisement timers");
static_assert(Answers<int, int, int, uint32_t*, Text, Text, uint32_t>(
                  maapi_get_u_int32_elem),
              "process of an OSPF compound identifier");
static_assert(Answers<int, int, int, uint32_t*, Text, Text, uint32_t, Text,
                      Text>(maapi_get_u_int32_elem),
              "interface index of an OSPFv3 interface");
static_assert(Answers<int, int, int, confd_ipv4_prefix*, Text, Text>(
                  maapi_get_ipv4_and_plen_elem),
              "IPv4 address with prefix length");
static_assert(Answers<int, int, int, confd_ipv6_prefix*, Text, Text>(
                  maapi_get_ipv6_and_plen_elem),
              "IPv6 address with prefix length");

// --- Walks over a list.
static_assert(Answers<int, int, int, maapi_cursor*, Text>(maapi_init_cursor),
              "cursor on a constant path");
static_assert(
    Answers<int, int, int, maapi_cursor*, Text, Text>(maapi_init_cursor),
    "cursor on a path through %s");
static_assert(Answers<int, maapi_cursor*>(maapi_get_next), "next list entry");
static_assert(Answers<void, maapi_cursor*>(maapi_destroy_cursor),
              "end of a walk");

// --- XPath: expression, result for free(3), no trace, context path.
static_assert(Answers<int, int, int, Text, char**, std::nullptr_t, Text>(
                  maapi_xpath_eval_expr),
              "string value of an XPath expression");

// --- Walk over the changes of a transaction.
using Iterator = confd_iter_ret (*)(confd_hkeypath_t*, confd_iter_op,
                                    confd_value_t*, confd_value_t*, void*);
static_assert(std::is_enum_v<confd_iter_op>, "kind of a change is an enum");
static_assert(std::is_enum_v<confd_iter_ret>, "order to the walk is an enum");
static_assert(MOP_CREATED == 1, "entry or presence container created");
static_assert(MOP_DELETED == 2, "node deleted");
static_assert(MOP_MODIFIED == 3, "entry with a changed descendant");
static_assert(MOP_VALUE_SET == 4, "leaf set");
static_assert(ITER_STOP == 1, "end of the walk");
static_assert(ITER_RECURSE == 2, "on into the children");
static_assert(ITER_CONTINUE == 3, "past the children");
static_assert(Answers<int, int, int, Iterator, int, void*, Text>(
                  maapi_keypath_diff_iterate),
              "changes below a path");

// --- The running configuration, through a session of the host.
static_assert(static_cast<int>(CDB_RUNNING) == 1, "running data store");
static_assert(std::is_enum_v<cdb_db_type>, "data store is an enum");
static_assert(Answers<int, int, int32_t*, Text, Text>(cdb_get_int32),
              "running VLAN of an l3 interface");

// The plug-in's own session is such a class.
class DerivedSession : public HostdCdbSessionBase {
 public:
  using HostdCdbSessionBase::HostdCdbSessionBase;
  int GiveSocket() const { return Socket(); }
};
static_assert(
    std::is_constructible_v<DerivedSession, HostdInterface*, cdb_db_type, bool>,
    "session on a data store");
static_assert(std::has_virtual_destructor_v<HostdCdbSessionBase>,
              "a session closes as what it is");
static_assert(!std::is_copy_constructible_v<HostdCdbSessionBase> &&
                  !std::is_copy_assignable_v<HostdCdbSessionBase>,
              "a session closes once");
static_assert(std::is_invocable_r_v<int, decltype(&DerivedSession::GiveSocket),
                                    const DerivedSession&>,
              "socket of a session that is not changed by asking");

// --- The host framework.
static_assert(Answers<int, hostd_t*>(hostd_maapi_socket_get), "MAAPI socket");
static_assert(Answers<HostdInterface*, hostd_t*>(hostd_instance_get),
              "host of a CDB session");
static_assert(Answers<void*, void*, Text>(get_lib_context), "library context");

// --- Debug log and faults.
static_assert(Answers<void*>(get_config_vald_log_handle), "debug log");
static_assert(Answers<void, void*, Text, std::va_list&>(hostmw_vlog_debug),
              "debug line");
// A variadic function of that name would print the list as if it were a value.
static_assert(
    !Answers<void, void*, Text, std::va_list&, int>(hostmw_vlog_debug),
    "debug line takes the argument list, not the arguments");
static_assert(Answers<void, int, Text, Text, int, Text>(hostmw_gen_fault),
              "fault");

// --- Identifiers of interfaces and VRFs.
static_assert(std::is_unsigned_v<limid_t> &&
                  std::numeric_limits<limid_t>::digits == 32,
              "an interface identifier is an unsigned 32-bit number");
static_assert(Answers<int, limid_t*, int32_t>(limid_l3_vlan_from_components),
              "identifier of the interface on a VLAN");
static_assert(Answers<int, limid_t, uint32_t*>(limid_to_ifindex),
              "interface index of an identifier");
static_assert(Answers<uint32_t, uint32_t>(IdVrfFromComponent),
              "index of a VRF identifier");

// --- Numbers that only the embedded host or its tests use. Another version of
// the SDK may lack one, so only our declarations are tested.
#ifdef IPAV_PLATFORM_CONFD_LIB_H_
static_assert(MAXDEPTH == 20 && MAXKEYLEN == 9, "limits of the daemon");
static_assert(CONFD_EOF == -2 && CONFD_VALIDATION_WARN == -3, "return codes");
static_assert(CONFD_ERR_NOEXISTS == 1, "no value and no default");
static_assert(CONFD_ERR_BADTYPE == 5, "read with another type");
static_assert(CONFD_ERR_BADPATH == 8, "malformed or unknown path");
static_assert(CONFD_ERR_MALLOC == 20, "out of memory");
static_assert(CONFD_ERR_PROTOUSAGE == 21, "call out of place");
static_assert(CONFD_ERR_NOSESSION == 22, "session never opened");
static_assert(CONFD_ERR_XPATH == 50, "malformed XPath expression");
static_assert(CONFD_ERR_NOT_IMPLEMENTED == 51, "call not implemented");
static_assert(CONFD_ERR_NOTRANS == 61, "transaction never opened");
static_assert(C_STR == 4 && C_INT8 == 6 && C_INT16 == 7 && C_INT64 == 9,
              "text and signed numbers");
static_assert(C_UINT8 == 10 && C_UINT16 == 11 && C_UINT64 == 13,
              "unsigned numbers");
static_assert(C_IPV6 == 16 && C_BOOL == 17, "IPv6 address, boolean");
static_assert(C_IPV4_AND_PLEN == 48 && C_IPV6_AND_PLEN == 49,
              "addresses with prefix length");
static_assert(MOP_MOVED_AFTER == 5 && MOP_ATTR_SET == 6, "other changes");
static_assert(ITER_SUSPEND == 4 && ITER_UP == 5, "other orders to the walk");
static_assert(static_cast<int>(CDB_STARTUP) == 2 &&
                  static_cast<int>(CDB_OPERATIONAL) == 3 &&
                  static_cast<int>(CDB_PRE_COMMIT_RUNNING) == 4,
              "other data stores");
#endif

}  // namespace
