#include "include/validate_intf_vrf.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "include/validate_config.h"
#include "src/lib/internal/assertion.h"
#include "src/lib/internal/callback_steps.h"
#include "src/lib/internal/maapi_owners.h"
#include "src/lib/internal/maapi_reads.h"
#include "src/lib/internal/model_tags.h"
#include "src/lib/internal/report.h"

namespace internal = ip_application::config_valid::internal;

using internal::RequireType;
using ip_application::config_valid::Config;
using ip_application::config_valid::ConfigAddrFamily;
using ip_application::config_valid::InterfaceType;
using ip_application::config_valid::ValidateConfig;

namespace {

constexpr char kSource[] = "src/lib/validate_intf_vrf.cc";
constexpr char kCallback[] =
    "int32_t validate_intf_vrf(int32_t, confd_trans_ctx*, confd_hkeypath_t*, "
    "confd_value_t*, ip_application::config_valid::Config&)";

// Lengths of the key paths that have a walk: a list of interfaces, and a node
// three levels below an entry of the OSPFv2 table.
constexpr int kListDepth = 3;
constexpr int kOspfNodeDepth = 6;

// The walk's callback: `state` is the walk.
confd_iter_ret IterateWalk(confd_hkeypath_t* kp, confd_iter_op op,
                           confd_value_t* oldv, confd_value_t* newv,
                           void* state) {
  return static_cast<ValidateIntfVrf*>(state)->IterValidate(kp, op, oldv, newv);
}

std::unique_ptr<ValidateIntfVrf> MakeListWalk(int32_t maapi_socket,
                                              confd_trans_ctx* tctx,
                                              const confd_hkeypath_t& keypath) {
  const confd_value_t& list = keypath.v[0][0];
  RequireType(
      list, C_XMLTAG,
      {"(&keypath->v[0][0])->type == C_XMLTAG", kSource, __LINE__, kCallback});
  switch (CONFD_GET_XMLTAG(&list)) {
    case internal::kLoopbackTag:
      return std::make_unique<ValidateIntfLoVrf>(maapi_socket, tctx,
                                                 "/config/interface/loopback");
    case internal::kL3Tag:
      return std::make_unique<ValidateIntfL3Vrf>(maapi_socket, tctx,
                                                 "/config/interface/l3");
    default:
      return nullptr;
  }
}

std::unique_ptr<ValidateIntfVrf> MakeOspfWalk(int32_t maapi_socket,
                                              confd_trans_ctx* tctx,
                                              const confd_hkeypath_t& keypath) {
  const confd_value_t& list = keypath.v[4][0];
  RequireType(
      list, C_XMLTAG,
      {"(&keypath->v[4][0])->type == C_XMLTAG", kSource, __LINE__, kCallback});
  if (CONFD_GET_XMLTAG(&list) != internal::kOspfInterfaceTag) return nullptr;
  return std::make_unique<ValidateIntfVrfOspf>(maapi_socket, tctx,
                                               "/internal/ospf-interface-l3");
}

// The walk for the key path, or null if it has none.
std::unique_ptr<ValidateIntfVrf> MakeWalk(int32_t maapi_socket,
                                          confd_trans_ctx* tctx,
                                          const confd_hkeypath_t& keypath) {
  switch (keypath.len) {
    case kListDepth:
      return MakeListWalk(maapi_socket, tctx, keypath);
    case kOspfNodeDepth:
      return MakeOspfWalk(maapi_socket, tctx, keypath);
    default:
      return nullptr;
  }
}

struct FreeDeleter {
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

ValidateIntfVrf::ValidateIntfVrf(int32_t maapi_socket, confd_trans_ctx* tctx,
                                 std::string path)
    : maapi_socket_(maapi_socket), tctx_(tctx), path_(std::move(path)) {}

int32_t ValidateIntfVrf::RunValidation() {
  // The result is ignored: a walk that fails has refused nothing.
  static_cast<void>(maapi_keypath_diff_iterate(
      maapi_socket_, tctx_->thandle, IterateWalk, 0, this, path_.c_str()));
  if (error_text_.empty()) return internal::kAccept;
  confd_trans_seterr(tctx_, "%s", error_text_.c_str());
  return internal::kReject;
}

nettypes::IPv4AddrMask ValidateIntfVrf::get_ipv4_addr_mask(
    const std::string& path) const {
  return internal::ReadIpv4Mask(maapi_socket_, tctx_->thandle, path);
}

std::list<std::string> ValidateIntfVrf::get_key_list(
    const std::string& path) const {
  constexpr std::size_t kKeyTextSize = 8192;
  return internal::ReadFirstKeys<kKeyTextSize>(maapi_socket_, tctx_->thandle,
                                               path);
}

confd_iter_ret ValidateIntfVrf::RefuseVrfUnderOspfv3(const confd_hkeypath_t& kp,
                                                     confd_iter_op op,
                                                     const confd_value_t* newv,
                                                     const std::string& kind,
                                                     const char* function) {
  // 1. Check only changes that set a VRF.
  if (op != MOP_VALUE_SET) return ITER_RECURSE;
  const confd_value_t& leaf = kp.v[0][0];
  RequireType(
      leaf, C_XMLTAG,
      {"(&kp->v[0][0])->type == C_XMLTAG", kSource, __LINE__, function});
  if (CONFD_GET_XMLTAG(&leaf) != internal::kVrfTag || newv == nullptr) {
    return ITER_RECURSE;
  }

  // 2. Refuse it if OSPFv3 uses the interface.
  const confd_value_t& key = kp.v[1][0];
  RequireType(key, C_BUF,
              {"(&kp->v[1][0])->type == C_BUF", kSource, __LINE__, function});
  const std::string name = internal::TextOf(key);
  if (!IsInOspfv3(kind, name)) return ITER_RECURSE;
  error_text_ = kind + " " + name +
                " is configured in OSPFv3 and cannot be associated with a VRF";
  return ITER_STOP;
}

bool ValidateIntfVrf::IsInOspfv3(const std::string& kind,
                                 const std::string& name) const {
  char expression[1024] = "";
  static_cast<void>(std::snprintf(
      expression, sizeof(expression),
      "ospfv3-interface-l3[ospfv3-pm-if-name='%s-%s']/ospfv3-pm-if-name",
      kind.c_str(), name.c_str()));
  char* answer = nullptr;
  // After a failure, `answer` is null.
  static_cast<void>(maapi_xpath_eval_expr(maapi_socket_, tctx_->thandle,
                                          expression, &answer, nullptr,
                                          "/internal"));
  const std::unique_ptr<char, FreeDeleter> owned(answer);
  return answer != nullptr && *answer != '\0';
}

confd_iter_ret ValidateIntfL3Vrf::IterValidate(confd_hkeypath_t* kp,
                                               confd_iter_op op,
                                               confd_value_t* /*oldv*/,
                                               confd_value_t* newv) {
  return RefuseVrfUnderOspfv3(
      *kp, op, newv, "l3",
      "virtual confd_iter_ret ValidateIntfL3Vrf::IterValidate("
      "confd_hkeypath_t*, confd_iter_op, confd_value_t*, confd_value_t*)");
}

confd_iter_ret ValidateIntfLoVrf::IterValidate(confd_hkeypath_t* kp,
                                               confd_iter_op op,
                                               confd_value_t* /*oldv*/,
                                               confd_value_t* newv) {
  return RefuseVrfUnderOspfv3(
      *kp, op, newv, "loopback",
      "virtual confd_iter_ret ValidateIntfLoVrf::IterValidate("
      "confd_hkeypath_t*, confd_iter_op, confd_value_t*, confd_value_t*)");
}

confd_iter_ret ValidateIntfVrfOspf::IterValidate(confd_hkeypath_t* /*kp*/,
                                                 confd_iter_op /*op*/,
                                                 confd_value_t* /*oldv*/,
                                                 confd_value_t* /*newv*/) {
  return ITER_RECURSE;
}

confd_iter_ret ValidateIntfVrfOspfv3::IterValidate(confd_hkeypath_t* kp,
                                                   confd_iter_op op,
                                                   confd_value_t* /*oldv*/,
                                                   confd_value_t* /*newv*/) {
  if (op == MOP_VALUE_SET) {
    RequireType(kp->v[0][0], C_XMLTAG,
                {"(&kp->v[0][0])->type == C_XMLTAG", kSource, __LINE__,
                 "virtual confd_iter_ret ValidateIntfVrfOspfv3::IterValidate("
                 "confd_hkeypath_t*, confd_iter_op, confd_value_t*, "
                 "confd_value_t*)"});
  }
  return ITER_RECURSE;
}

int32_t validate_intf_vrf(int32_t maapi_socket, confd_trans_ctx* tctx,
                          confd_hkeypath_t* keypath, confd_value_t* /*newval*/,
                          Config& config) {
  // 1. Read what the rules need.
  const InterfaceType kind = Config::intf_type_from_confd_path(keypath);
  internal::ReadInterfacesIfNeeded(
      config, ConfigAddrFamily::kIpv4,
      {InterfaceType::kL3, InterfaceType::kLoopback, InterfaceType::kMgmt});
  config.ReadStaticRouteConfig(ConfigAddrFamily::kIpv4);
  config.ospfv2_config().ReadConfigIfNeeded(ConfigAddrFamily::kIpv4);

  // 2. Run the rules.
  ValidateConfig rules;
  int result = kind == InterfaceType::kNone
                   ? 0
                   : rules.ValidateInterfaceIPv4(config, kind);
  if (result == 0) result = rules.ValidateOspfv2Vrf(config);
  if (result != 0) return internal::Report(tctx, result, rules);

  // 3. Run the walk, if the key path has one.
  const std::unique_ptr<ValidateIntfVrf> walk =
      MakeWalk(maapi_socket, tctx, *keypath);
  return walk == nullptr ? internal::kAccept : walk->RunValidation();
}
