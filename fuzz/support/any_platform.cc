#include "fuzz/support/any_platform.h"

#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

#include "tests/support/fake_platform.h"

namespace ipav::fuzz {

namespace {

using testing::Enum;
using testing::Fake;
using testing::Int32;
using testing::Ipv4Plen;
using testing::Ipv6Plen;
using testing::KeyPath;
using testing::OctetsOf;
using testing::Path;
using testing::PathText;
using testing::Tag;
using testing::TagOf;
using testing::Text;
using testing::Uint16;
using testing::Uint32;
using testing::Uint8;
using testing::Value;

using Values = std::vector<Value>;

// ---- Values of any type ----------------------------------------------------

// Fills in the object representation of a member.
template <typename Member>
void TakeBytes(ByteReader* in, Member* member) {
  const std::string bytes = in->Bytes(sizeof(*member));
  std::memcpy(member, bytes.data(), bytes.size());
}

std::int32_t TakeNumber(ByteReader* in) {
  return static_cast<std::int32_t>(in->Uint32());
}

// An address, or a prefix with a length of up to 255.
Value AnyAddress(ByteReader* in, confd_vtype type) {
  confd_value_t value{};
  value.type = type;
  if (type == C_IPV4) TakeBytes(in, &value.val.ip);
  if (type == C_IPV6) TakeBytes(in, &value.val.ip6);
  if (type == C_IPV4_AND_PLEN) {
    TakeBytes(in, &value.val.ipv4prefix.ip);
    value.val.ipv4prefix.len = in->Byte();
  }
  if (type == C_IPV6_AND_PLEN) {
    TakeBytes(in, &value.val.ipv6prefix.ip6);
    value.val.ipv6prefix.len = in->Byte();
  }
  return Value(value);
}

// A type that the plug-in does not use, also one without a name. Limited to the
// bits of the enumeration: a larger number is not a value of it.
Value OtherType(ByteReader* in) {
  const std::size_t number = in->Below(64);
  if (number == C_BUF || number == C_BINARY) return Text("");
  confd_value_t value{};
  value.type = static_cast<confd_vtype>(number);
  return Value(value);
}

using Maker = Value (*)(ByteReader*);
constexpr Maker kMakers[] = {
    [](ByteReader* in) { return Text(in->Text()); },
    [](ByteReader* in) { return testing::Binary(in->Text()); },
    [](ByteReader* /*in*/) { return Text(""); },
    [](ByteReader* /*in*/) { return testing::Binary(""); },
    [](ByteReader* in) { return Int32(TakeNumber(in)); },
    [](ByteReader* in) { return Uint32(in->Uint32()); },
    [](ByteReader* in) {
      return Uint16(static_cast<std::uint16_t>(in->Uint32()));
    },
    [](ByteReader* in) { return Uint8(in->Byte()); },
    [](ByteReader* in) { return Enum(TakeNumber(in)); },
    [](ByteReader* in) { return testing::Bool(in->Byte() != 0); },
    [](ByteReader* in) { return Tag(in->Uint32()); },
    [](ByteReader* /*in*/) { return testing::Nothing(); },
    [](ByteReader* in) { return AnyAddress(in, C_IPV4); },
    [](ByteReader* in) { return AnyAddress(in, C_IPV6); },
    [](ByteReader* in) { return AnyAddress(in, C_IPV4_AND_PLEN); },
    [](ByteReader* in) { return AnyAddress(in, C_IPV6_AND_PLEN); },
    OtherType};

// ---- Usual values ----------------------------------------------------------

constexpr const char* kKinds[] = {"l3", "loopback", "mgmt"};

constexpr char kRoutes[] = "/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry";
constexpr char kRouteInterfaces[] = "/rtmStaticRtEntry-global";
constexpr char kVrfNames[] = "/internal/vrf-config/indexTOstring";
constexpr char kOspfRows[] = "/internal/ospf-interface-l3";
constexpr char kOspfProcesses[] = "/internal/ospf-index-to-proc-id";
constexpr char kOspfv3Rows[] = "/internal/ospfv3-interface-l3";

const Values& Ipv4Prefixes() {
  static const Values values = {
      Ipv4Plen("10.1.1.1/24"), Ipv4Plen("10.1.2.1/24"), Ipv4Plen("10.1.1.2/30"),
      Ipv4Plen("10.1.1.0/24"), Ipv4Plen("0.0.0.0/0"),   Ipv4Plen("10.1.1.1/32"),
  };
  return values;
}

const Values& Ipv6Prefixes() {
  static const Values values = {
      Ipv6Plen("2001:db8::1/64"),
      Ipv6Plen("2001:db8:1::1/64"),
      Ipv6Plen("2001:db8::1/128"),
      Ipv6Plen("::/0"),
  };
  return values;
}

const Values& Names() {
  static const Values values = {Text("core1"), Text("0"), Text("eth0"),
                                Text("edge-2"), Text("a b")};
  return values;
}

const Values& Vrfs() {
  static const Values values = {Text("red"), Text("global"), Text("mgmt"),
                                Text("")};
  return values;
}

struct LeafKind {
  const char* path;  // below an interface
  Values usual;
};

const std::vector<LeafKind>& InterfaceLeaves() {
  static const std::vector<LeafKind> leaves = {
      {"/vrf", Vrfs()},
      {"/lower-layer-if/vlan", {Int32(10), Int32(0), Int32(-1)}},
      {"/ipv4/address/ip", Ipv4Prefixes()},
      {"/ipv6/nd/ra/max-interval", {Uint16(600), Uint16(4)}},
      {"/ipv6/nd/ra/min-interval", {Uint16(200), Uint16(451)}},
      {"/ipv6/nd/ra/lifetime", {Uint16(1800), Uint16(0), Uint16(600)}},
  };
  return leaves;
}

Path With(Path path, const std::vector<std::string>& names) {
  for (const std::string& name : names) path.push_back({name, {}});
  return path;
}

Path EntryOf(const std::string& list, const Values& keys) {
  Path path = testing::ParsePath(list).value();
  for (const Value& key : keys) path.back().keys.push_back(key.KeyText());
  return path;
}

}  // namespace

Value AnyPlatform::Take(const Values& usual) {
  const std::size_t choice = in_->Byte();
  const std::size_t half = choice / 2;
  if (choice % 2 == 0) return usual[half % usual.size()];
  return kMakers[half % std::size(kMakers)](in_);
}

Values AnyPlatform::TakeRow(const std::string& list,
                            const std::vector<Values>& usual) {
  // The model gives a list one number of keys, so all its rows have it.
  const auto [count, is_first] = key_counts_.emplace(list, usual.size());
  if (is_first && in_->Byte() % 2 == 1) {
    count->second = 1 + in_->Below(MAXKEYLEN - 1);
  }
  Values keys;
  for (std::size_t i = 0; i < count->second; ++i) {
    keys.push_back(Take(usual[i % usual.size()]));
  }
  Fake().AddEntry(list, keys);
  return keys;
}

void AnyPlatform::SetLeaf(const Path& path, const std::string& leaf,
                          const Value& value) {
  last_leaf_ = PathText(path) + leaf;
  Fake().SetValue(last_leaf_, value);
}

Path AnyPlatform::InterfacePath() const {
  return EntryOf("/config/interface/" + kind_, {key_});
}

// ---- Steps -----------------------------------------------------------------

void AnyPlatform::Interface() {
  kind_ = kKinds[in_->Below(std::size(kKinds))];
  key_ = Take(Names());
  Fake().AddEntry("/config/interface/" + kind_, {key_});
  has_interface_ = true;
}

void AnyPlatform::InterfaceLeaf() {
  if (!has_interface_) Interface();
  const auto& leaves = InterfaceLeaves();
  const LeafKind& leaf = leaves[in_->Below(leaves.size())];
  SetLeaf(InterfacePath(), leaf.path, Take(leaf.usual));
}

void AnyPlatform::AddressRow() {
  if (!has_interface_) Interface();
  const bool is_ipv4 = in_->Below(2) == 0;
  std::vector<std::string> names = {is_ipv4 ? "ipv4" : "ipv6", "address"};
  if (is_ipv4 && kind_ == "l3") names.emplace_back("secondary");
  Path list = With(InterfacePath(), names);
  const Values& usual = is_ipv4 ? Ipv4Prefixes() : Ipv6Prefixes();
  const Value key = Take(usual);
  Fake().AddEntry(PathText(list), {key});
  list.back().keys = {key.KeyText()};
  SetLeaf(list, "/ip", Take(usual));
}

void AnyPlatform::RouteRow() {
  const std::vector<Values> usual = {
      {Uint32(0), Uint32(1)},
      {Enum(1), Enum(2), Enum(0)},
      {OctetsOf("10.1.0.0"), OctetsOf("2001:db8::")},
      {Int32(24), Int32(64), Int32(0), Int32(-1), Int32(200)},
      {Enum(1), Enum(2)},
      {OctetsOf("10.1.1.1"), OctetsOf("2001:db8::1"), OctetsOf("0.0.0.0"),
       OctetsOf("::"), OctetsOf("10.1.1.9")},
  };
  route_ = TakeRow(kRoutes, usual);
  while (route_.size() < usual.size()) route_.push_back(testing::Nothing());
}

void AnyPlatform::RouteInterface() {
  if (route_.empty()) RouteRow();
  // In the path, the prefix length is an unsigned number.
  const confd_value_t length = route_[3].Borrow();
  const Value printed = length.type == C_INT32
                            ? Uint32(static_cast<std::uint32_t>(length.val.i32))
                            : route_[3];
  const Values keys = {route_[0], route_[2], printed, route_[5]};
  Fake().AddEntry(kRouteInterfaces, keys);
  SetLeaf(EntryOf(kRouteInterfaces, keys), "/interface-name",
          Take({Text("l3-core1"), Text("ab"), Text("a"), Text("")}));
}

void AnyPlatform::VrfName() {
  const Value index = Take({Uint32(1), Uint32(0)});
  Fake().AddEntry(kVrfNames, {index});
  SetLeaf(EntryOf(kVrfNames, {index}), "/vname", Take(Vrfs()));
}

void AnyPlatform::OspfRow() {
  const Values keys =
      TakeRow(kOspfRows, {{Uint32(7), Uint32(8)},
                          {Text("0.0.0.1"), testing::Ipv4("0.0.0.1")},
                          {Text("l3-core1"), Text("loopback-0"), Text("none")},
                          {Text("10.1.1.1"), testing::Ipv4("10.1.1.1")}});
  SetLeaf(EntryOf(kOspfRows, keys), "/ospf-pm-ip-netmask",
          Take({Uint8(24), Uint8(0), Uint8(255)}));
}

void AnyPlatform::OspfProcess() {
  const Value identifier = Take({Uint32(7), Uint32(8)});
  Fake().AddEntry(kOspfProcesses, {identifier});
  const Path entry = EntryOf(kOspfProcesses, {identifier});
  SetLeaf(entry, "/proc_id", Take({Uint32(10)}));
  SetLeaf(entry, "/vrf_name", Take({Text("global"), Text("red"), Text("")}));
}

void AnyPlatform::Ospfv3Row() {
  const Values keys =
      TakeRow(kOspfv3Rows, {{Uint32(1), Uint32(0xffffffff)},
                            {testing::Ipv4("0.0.0.1")},
                            {Text("l3-core1"), Text("loopback-0")}});
  SetLeaf(EntryOf(kOspfv3Rows, keys), "/ospfv3-pm-if-index",
          Take({Uint32(1010), Uint32(1000)}));
}

void AnyPlatform::RunningVlan() {
  const Path leaf =
      With(EntryOf("/config/interface/l3", {key_}), {"lower-layer-if", "vlan"});
  Fake().SetRunning(PathText(leaf), Take({Int32(10), Int32(20), Int32(0)}));
}

void AnyPlatform::XpathAnswer() {
  // The key as the walk reads it, up to its first NUL.
  const std::string name = UpToNul(key_.KeyText());
  const std::string expression = "ospfv3-interface-l3[ospfv3-pm-if-name='" +
                                 kind_ + "-" + name + "']/ospfv3-pm-if-name";
  Fake().SetXpathAnswer("/internal", expression, in_->Text());
}

void AnyPlatform::Change() {
  KeyPath path;
  path.Node("config").Node("interface").Node(kind_);
  path.Key(Take({key_, Text("core1")}));
  // A path text needs the name of a node, so the leaf is replaced afterwards.
  path.Node("vrf").Replace(0, Take({Tag(TagOf("vrf")), Tag(TagOf("name"))}));
  // Limited to the bits of the enumeration.
  const auto op = static_cast<confd_iter_op>((MOP_VALUE_SET + in_->Byte()) % 8);
  std::optional<Value> value;
  if (in_->Byte() % 2 == 0) value = Take(Vrfs());
  Fake().AddChange(path, op, value);
}

void AnyPlatform::FailCall() {
  constexpr int kResults[] = {CONFD_ERR, CONFD_EOF, CONFD_OK,
                              1,         2,         CONFD_VALIDATION_WARN};
  const unsigned number = in_->Byte();
  Fake().FailCall(number + 1, kResults[in_->Below(std::size(kResults))]);
}

void AnyPlatform::FailLeaf() {
  const bool is_unreadable = in_->Byte() % 2 == 0;
  if (last_leaf_.empty()) return;
  if (is_unreadable) {
    Fake().FailReads(last_leaf_);
  } else {
    Fake().FailExists(last_leaf_);
  }
}

void AnyPlatform::KeyPathElement() {
  const std::size_t index = in_->Below(8);
  path_elements_.insert_or_assign(
      index, Take({Tag(TagOf("l3")), Tag(TagOf("mgmt")), Tag(TagOf("loopback")),
                   Tag(TagOf("vrf")), Tag(TagOf("ospf-interface-l3")),
                   Text("core1"), Text("eth0"), Uint32(7)}));
}

void AnyPlatform::TakeStep(std::size_t number) {
  using Step = void (AnyPlatform::*)();
  constexpr Step kAllSteps[kSteps] = {
      &AnyPlatform::Interface,      &AnyPlatform::InterfaceLeaf,
      &AnyPlatform::AddressRow,     &AnyPlatform::RouteRow,
      &AnyPlatform::RouteInterface, &AnyPlatform::VrfName,
      &AnyPlatform::OspfRow,        &AnyPlatform::OspfProcess,
      &AnyPlatform::Ospfv3Row,      &AnyPlatform::RunningVlan,
      &AnyPlatform::XpathAnswer,    &AnyPlatform::Change,
      &AnyPlatform::FailCall,       &AnyPlatform::FailLeaf,
      &AnyPlatform::KeyPathElement};
  const Step step = kAllSteps[number];
  (this->*step)();
}

KeyPath AnyPlatform::KeyPathOf(const std::string& point) const {
  Values elements = {Tag(TagOf("config")), Tag(TagOf("interface")),
                     Tag(TagOf(kind_))};
  if (point.rfind("validate_ipv6_nd_ra", 0) == 0) {
    elements.push_back(key_);
    for (const char* node : {"ipv6", "nd", "ra"}) {
      elements.push_back(Tag(TagOf(node)));
    }
  } else if (point == "lower_layer_prot_cross_validation") {
    elements.back() = Tag(TagOf("l3"));
    elements.push_back(key_);
    elements.push_back(Tag(TagOf("lower-layer-if")));
  }
  for (const auto& [index, value] : path_elements_) {
    while (elements.size() <= index) {
      elements.insert(elements.begin(), Tag(TagOf("top")));
    }
    elements[elements.size() - 1 - index] = value;
  }
  KeyPath path;
  for (const Value& element : elements) path.Key(element);
  return path;
}

}  // namespace ipav::fuzz
