#include "fuzz/support/any_value.h"

#include <cstring>
#include <string>

namespace ipav::fuzz {

namespace {

using testing::Value;

confd_value_t OfType(confd_vtype type) {
  confd_value_t value{};
  value.type = type;
  return value;
}

// Fills in the object representation of a member.
template <typename Member>
void TakeBytes(ByteReader* in, Member* member) {
  const std::string bytes = in->Bytes(sizeof(*member));
  std::memcpy(member, bytes.data(), bytes.size());
}

Value AnyText(ByteReader* in) { return testing::Text(in->Text()); }
Value AnyBinary(ByteReader* in) { return testing::Binary(in->Text()); }
Value EmptyText(ByteReader* /*in*/) { return testing::Text(""); }
Value EmptyBinary(ByteReader* /*in*/) { return testing::Binary(""); }

Value AnyInt32(ByteReader* in) {
  return testing::Int32(static_cast<std::int32_t>(in->Uint32()));
}
Value AnyUint32(ByteReader* in) { return testing::Uint32(in->Uint32()); }
Value AnyUint16(ByteReader* in) {
  return testing::Uint16(static_cast<std::uint16_t>(in->Uint32()));
}
Value AnyUint8(ByteReader* in) { return testing::Uint8(in->Byte()); }
Value AnyEnum(ByteReader* in) {
  return testing::Enum(static_cast<std::int32_t>(in->Uint32()));
}
Value AnyBool(ByteReader* in) { return testing::Bool(in->Byte() != 0); }
Value AnyTag(ByteReader* in) { return testing::Tag(in->Uint32()); }
Value NoValue(ByteReader* /*in*/) { return testing::Nothing(); }

Value AnyIpv4(ByteReader* in) {
  confd_value_t value = OfType(C_IPV4);
  TakeBytes(in, &value.val.ip);
  return Value(value);
}
Value AnyIpv6(ByteReader* in) {
  confd_value_t value = OfType(C_IPV6);
  TakeBytes(in, &value.val.ip6);
  return Value(value);
}

// Prefix lengths up to 255.
Value AnyIpv4Prefix(ByteReader* in) {
  confd_value_t value = OfType(C_IPV4_AND_PLEN);
  TakeBytes(in, &value.val.ipv4prefix.ip);
  value.val.ipv4prefix.len = in->Byte();
  return Value(value);
}
Value AnyIpv6Prefix(ByteReader* in) {
  confd_value_t value = OfType(C_IPV6_AND_PLEN);
  TakeBytes(in, &value.val.ipv6prefix.ip6);
  value.val.ipv6prefix.len = in->Byte();
  return Value(value);
}

// A type that the plug-in has no use for, also one that has no name. As many
// as the bits of the enumeration hold: another one is no value of it.
Value OtherType(ByteReader* in) {
  const std::size_t number = in->Below(64);
  if (number == C_BUF || number == C_BINARY) return EmptyText(in);
  return Value(OfType(static_cast<confd_vtype>(number)));
}

using Maker = Value (*)(ByteReader*);
constexpr Maker kMakers[] = {
    AnyText,   AnyBinary, EmptyText,     EmptyBinary,   AnyInt32, AnyUint32,
    AnyUint16, AnyUint8,  AnyEnum,       AnyBool,       AnyTag,   NoValue,
    AnyIpv4,   AnyIpv6,   AnyIpv4Prefix, AnyIpv6Prefix, OtherType};

}  // namespace

Value TakeValue(ByteReader* in, const std::vector<Value>& usual) {
  const std::size_t choice = in->Byte();
  const std::size_t half = choice / 2;
  if (choice % 2 == 0) return usual[half % usual.size()];
  return kMakers[half % std::size(kMakers)](in);
}

}  // namespace ipav::fuzz
