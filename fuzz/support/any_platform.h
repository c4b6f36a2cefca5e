// The data of the platform, made from an input's bytes: rows and leaves of any
// type, changes, and calls that fail.
//
// An input is a list of steps: for each a byte for its kind, in the order of
// the functions below, and the data of that kind. A zero byte is the usual
// value everywhere, so that few bytes make a configuration that the rules
// validate.
#ifndef IPAV_FUZZ_SUPPORT_ANY_PLATFORM_H_
#define IPAV_FUZZ_SUPPORT_ANY_PLATFORM_H_

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "fuzz/support/byte_reader.h"
#include "tests/support/builders.h"
#include "tests/support/path_text.h"
#include "tests/support/value.h"

namespace ipav::fuzz {

class AnyPlatform {
 public:
  static constexpr std::size_t kSteps = 15;

  // Fills the fake platform, which must be empty. Borrows the input.
  explicit AnyPlatform(ByteReader* in) : in_(in) {}

  // Step number 0 to kSteps - 1.
  void TakeStep(std::size_t number);

  // The key path that the daemon makes for a validation point, for the current
  // interface of the steps, with the elements that steps have replaced.
  testing::KeyPath KeyPathOf(const std::string& point) const;

 private:
  using Values = std::vector<testing::Value>;

  // An interface, which becomes the current one: kind, key.
  void Interface();
  // A leaf of the interface: which one, value.
  void InterfaceLeaf();
  // A row of one of its lists of addresses: which list, key, value.
  void AddressRow();
  // A static route: six keys.
  void RouteRow();
  // The output interface of the last route: name.
  void RouteInterface();
  // The name of a VRF: index, name.
  void VrfName();
  // An OSPFv2 interface: four keys, netmask. A process: identifier, number,
  // VRF. An OSPFv3 interface: three keys, interface index.
  void OspfRow();
  void OspfProcess();
  void Ospfv3Row();
  // The VLAN of the interface in the running configuration: value.
  void RunningVlan();
  // The answer to the XPath that looks for the interface in OSPFv3: a text.
  void XpathAnswer();
  // A change: key of the interface, leaf, operation, and the new value or,
  // after an odd byte, none.
  void Change();
  // A later call fails: which one, and with which result.
  void FailCall();
  // Reading the last leaf fails, or the test for its existence: a byte.
  void FailLeaf();
  // An element of all key paths: which one, counted from the leaf, and value.
  void KeyPathElement();

  // One byte decides. Half of an even byte is the index of a usual value; half
  // of an odd byte is the index of a type, and the following bytes fill in a
  // value of it, also one that the daemon never returns.
  testing::Value Take(const Values& usual);
  // The keys of one row of a list, as many as `usual` has. An odd byte before
  // the first row of a list gives that list another number of keys.
  Values TakeRow(const std::string& list, const std::vector<Values>& usual);
  void SetLeaf(const testing::Path& path, const std::string& leaf,
               const testing::Value& value);
  testing::Path InterfacePath() const;

  ByteReader* in_;
  std::string kind_ = "l3";
  testing::Value key_ = testing::Text("core1");
  bool has_interface_ = false;
  Values route_;
  std::string last_leaf_;
  std::map<std::string, std::size_t> key_counts_;        // by list
  std::map<std::size_t, testing::Value> path_elements_;  // by index
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_SUPPORT_ANY_PLATFORM_H_
