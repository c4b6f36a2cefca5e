// Calls validate() with any key path and any opaque text, on a small valid
// configuration.
//
// Legal: verdict 0 or -1, with one text of the named point, or none for a call
// that names none; the assertions on the type of a key path's element, only if
// that element has another type. No exception: the stored data is valid.
//
// Input: a series of calls. For each
//   1. a byte of flags: the missing parts of the call (kNoTransaction and so
//      on);
//   2. a byte: the number of a validation point, or the number after the last
//      one for none; and a text, which is appended to its name;
//   3. a byte, less 128: the length that the key path claims to have;
//   4. a byte: the number of elements that follow, leaf first; for each a byte
//      for its number of values, and the values (any_value.h);
//   5. the new value.

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/support/any_value.h"
#include "fuzz/support/byte_reader.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/plugin_life.h"
#include "fuzz/support/target.h"
#include "tests/support/builders.h"
#include "tests/support/fake_platform.h"

namespace ipav::fuzz {

namespace {

using testing::Fake;
using testing::Value;

constexpr int kMaxCalls = 8;

enum Flag : unsigned {
  kNoTransaction = 1,
  kNoKeypath = 2,
  kNoNewValue = 4,
  kNoOpaque = 8,
  kNoSocket = 16,
  kNoContext = 32,
};

// Elements of the key paths that the daemon makes.
const std::vector<Value>& UsualElements() {
  using testing::Tag;
  using testing::TagOf;
  static const std::vector<Value> elements = {
      Tag(TagOf("l3")),       Tag(TagOf("mgmt")),
      Tag(TagOf("loopback")), Tag(TagOf("vrf")),
      Tag(TagOf("config")),   Tag(TagOf("interface")),
      testing::Text("core1"), testing::Text("eth0"),
      testing::Text("0"),     Tag(TagOf("ipv6")),
      Tag(TagOf("nd")),       Tag(TagOf("ra")),
      Tag(TagOf("internal")), Tag(TagOf("ospf-interface-l3")),
      testing::Uint32(7),     Tag(TagOf("lower-layer-if")),
  };
  return elements;
}

// A key path with the values that its octets belong to.
class AnyKeyPath {
 public:
  explicit AnyKeyPath(ByteReader* in) {
    path_.len = in->Byte() - 128;
    values_.reserve(std::size_t{MAXDEPTH} * MAXKEYLEN);  // they must not move
    const std::size_t rows = in->Below(MAXDEPTH + 1);
    for (std::size_t row = 0; row < rows; ++row) TakeRow(in, path_.v[row]);
  }

  confd_hkeypath_t* get() { return &path_; }

 private:
  void TakeRow(ByteReader* in, confd_value_t* row) {
    const std::size_t count = std::max<std::size_t>(in->Below(MAXKEYLEN), 1);
    for (std::size_t i = 0; i < count; ++i) {
      values_.push_back(TakeValue(in, UsualElements()));
      row[i] = values_.back().Borrow();
    }
    if (row[0].type != C_XMLTAG) row[count] = testing::Nothing().Borrow();
  }

  std::vector<Value> values_;
  confd_hkeypath_t path_{};
};

void StoreInterfaces() {
  testing::InterfaceData l3;
  l3.vlan = 10;
  l3.ipv4_list = {"10.1.2.1/24"};
  l3.ipv6 = {"2001:db8:1::1/64"};
  l3.StoreIn(Fake());
  testing::InterfaceData loopback;
  loopback.kind = "loopback";
  loopback.name = "0";
  loopback.ipv4_list = {"10.0.0.1/32"};
  loopback.StoreIn(Fake());
  testing::InterfaceData mgmt;
  mgmt.kind = "mgmt";
  mgmt.name = "eth0";
  mgmt.ipv4 = "192.168.0.1/24";
  mgmt.StoreIn(Fake());
}

void StoreTimers(const std::string& kind, const std::string& name) {
  testing::RaConfig timers;
  timers.kind = kind;
  timers.name = name;
  const std::string container = timers.container();
  Fake().SetValue(container + "max-interval", testing::Uint16(600));
  Fake().SetValue(container + "min-interval", testing::Uint16(200));
  Fake().SetValue(container + "lifetime", testing::Uint16(1800));
}

void StoreRoutesAndProtocols() {
  testing::StaticRouteRow route;
  route.interface_name = "l3-core1";
  route.StoreIn(Fake());
  testing::OspfRow row;
  row.StoreIn(Fake());
  row.address = "10.1.2.1";
  row.StoreIn(Fake());
  testing::OspfProcess().StoreIn(Fake());
  testing::Ospfv3Row().StoreIn(Fake());
  Fake().SetRunning("/config/interface/l3{core1}/lower-layer-if/vlan",
                    testing::Int32(10));
}

// A VRF that a transaction gives to an interface outside OSPFv3.
void StoreChange() {
  testing::KeyPath leaf;
  leaf.Node("config").Node("interface").Node("loopback");
  leaf.Key(testing::Text("0")).Node("vrf");
  Fake().AddChange(leaf, MOP_VALUE_SET, testing::Text("red"));
}

// The element that an assertion names, "(&keypath->v[N][0])->type == TYPE", is
// not of that type.
void RequireOtherType(const confd_hkeypath_t& path,
                      const std::string& expression) {
  const std::size_t digit = expression.find("->v[") + 4;
  const int row = expression.at(digit) - '0';
  const bool of_tag = expression.find("== C_XMLTAG") != std::string::npos;
  const confd_vtype type = of_tag ? C_XMLTAG : C_BUF;
  Require(path.v[row][0].type != type, "an assertion that holds");
}

void TakeOpaque(ByteReader* in) {
  const auto& points = ValidationPoints();
  const std::size_t point = in->Below(points.size() + 1);
  const std::string name = point < points.size() ? points[point] : "";
  Fake().set_opaque(name + in->Text());
}

// Whether there may be a further call.
bool Call(ByteReader* in, PluginLife* life) {
  const unsigned flags = in->Byte();
  TakeOpaque(in);
  AnyKeyPath keypath(in);
  const Value newval = TakeValue(in, UsualElements());
  confd_value_t borrowed = newval.Borrow();

  confd_trans_ctx tctx = *Fake().tctx();
  if ((flags & kNoOpaque) != 0) tctx.validate_opaque = nullptr;
  if ((flags & kNoSocket) != 0) tctx.vcb_opaque = nullptr;
  if ((flags & kNoContext) != 0) tctx.v_opaque = nullptr;
  const Outcome outcome =
      life->Validate((flags & kNoTransaction) != 0 ? nullptr : &tctx,
                     (flags & kNoKeypath) != 0 ? nullptr : keypath.get(),
                     (flags & kNoNewValue) != 0 ? nullptr : &borrowed);
  if (outcome.ending == Ending::kAssertion) {
    RequireOtherType(*keypath.get(), outcome.expression);
    return false;
  }
  Require(
      outcome.ending == Ending::kAccepted || outcome.ending == Ending::kRefused,
      "an exception though all that is stored is right");
  return true;
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using ipav::fuzz::Cause;
  ipav::fuzz::StartPlatform();
  ipav::fuzz::StoreInterfaces();
  ipav::fuzz::StoreTimers("l3", "core1");
  ipav::fuzz::StoreTimers("mgmt", "eth0");
  ipav::fuzz::StoreRoutesAndProtocols();
  ipav::fuzz::StoreChange();

  ipav::fuzz::ByteReader in(data, size);
  ipav::fuzz::PluginLife life(ipav::fuzz::kNoCause | Cause::kKeyPath);
  int calls = 0;
  do {
    if (!ipav::fuzz::Call(&in, &life)) break;
  } while (!in.AtEnd() && ++calls < ipav::fuzz::kMaxCalls);
  return 0;
}
