// The rules once more, in the plainest way: what each call must answer,
// computed from a description of the configuration. No index, no cleverness,
// and nothing of the plug-in's code or types, so that the two cannot share a
// mistake.
#ifndef IPAV_TESTS_MODEL_PLAIN_MODEL_H_
#define IPAV_TESTS_MODEL_PLAIN_MODEL_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace ipav::model {

// ---- The configuration -----------------------------------------------------

using Octets = std::vector<std::uint8_t>;  // in network order

struct Prefix {
  Octets address;
  std::int32_t length = 0;
};

bool operator==(const Prefix& a, const Prefix& b);

// "10.0.0.1", "10.0.0.1/24".
std::string AddressText(const Octets& address);
std::string PrefixText(const Prefix& prefix);

// A leaf that does not exist, that exists but cannot be read (no text), or that
// has a text.
struct TextLeaf {
  bool exists = false;
  std::optional<std::string> text;
};

struct AddressEntry {
  std::string key;
  std::optional<Prefix> ip;
};

struct InterfaceEntry {
  std::string key;
  TextLeaf vrf;
  std::optional<std::int32_t> vlan;  // of an l3
  std::optional<Prefix> primary;     // of an l3 or mgmt
  std::vector<AddressEntry> ipv4;    // secondaries of an l3; of a loopback
  std::vector<AddressEntry> ipv6;
};

struct RouteRow {
  std::uint32_t vrf = 0;
  std::int32_t type = 1;
  Octets destination;
  std::int32_t length = 0;
  Octets next_hop;
  unsigned times = 1;  // how many rows of that kind follow each other
};

// Output interface of the routes with these values.
struct OutputRow {
  std::uint32_t vrf = 0;
  Octets destination;
  std::int32_t length = 0;
  Octets next_hop;
  std::string interface_name;
};

struct VrfIndexRow {
  std::uint32_t index = 0;
  TextLeaf name;
};

// What one transaction shows. Keys are unique within their list.
struct Configuration {
  std::vector<InterfaceEntry> l3;
  std::vector<InterfaceEntry> loopback;
  std::vector<InterfaceEntry> mgmt;
  std::vector<RouteRow> routes;
  std::vector<OutputRow> outputs;
  std::vector<VrfIndexRow> vrfs;
};

// ---- Calls and answers -----------------------------------------------------

enum class Action : std::uint8_t {
  kValidate,     // the entry point
  kReadRoutes,   // the static routes of one family, as callbacks do
  kRouteRules,   // the rules for static routes, on what was read
  kNextHopRule,  // ... and its parts
  kLimitRule,
  kBlackHoleRule,
  kOutputRule,
  kMerge,  // records of both families into those of the l3 interfaces
};

// The list that the key path of the call names.
enum class Target : std::uint8_t { kL3, kLoopback, kMgmt, kOther, kNothing };

struct Call {
  Action action = Action::kValidate;
  std::string opaque;
  Target target = Target::kL3;
  int family = 4;               // of kReadRoutes
  std::size_t transaction = 0;  // whose configuration is current
};

struct Answer {
  int verdict = 0;
  std::optional<std::string> text;
  bool out_of_range = false;  // left by that exception; verdict says nothing
  std::vector<std::string> faults;
  std::vector<std::string> log;
};

bool operator==(const Answer& a, const Answer& b);

// ---- The model -------------------------------------------------------------

// One life of the library: what was read stays read.
class PlainModel {
 public:
  Answer Run(const Call& call, const Configuration& current);

 private:
  struct Record {
    std::string name;
    std::vector<Prefix> ipv4;
    std::vector<Prefix> ipv6;
    std::string vrf;
    bool has_lower_layer = false;
  };
  struct Reader {
    std::vector<Record> records;
    bool ipv4_read = false;
    bool ipv6_read = false;
  };
  struct Route {
    std::string vrf;
    Prefix network;
    Octets next_hop;
    std::string output;
  };

  void Validate(const Call& call);
  void ValidateNames();
  void ValidateAddresses(Target target, int family);
  bool AddressesHold(const Reader& changed, int family);

  // False when the read was left by the exception.
  bool ReadRoutes(int family);
  bool ReadRows(int family);
  void ReadL3(int family);
  void ReadLoopback(int family);
  void ReadMgmt(int family);
  void AppendEntries(const std::vector<AddressEntry>& entries,
                     const std::string& family_word,
                     std::vector<Prefix>* prefixes);
  void ReportMissing(const std::string& family_word, const std::string& key);
  void MergeL3s();
  static void Merge(const Record& record, Reader* reader);
  std::string VrfOfId(std::uint32_t id) const;
  std::string OutputOf(const RouteRow& row, bool* too_short) const;

  bool IsUsable(const Record& record);
  bool HasDuplicate(const Record& record, int family);
  bool Overlap(const Record& a, const Record& b, int family);
  bool IsNextHop(const Record& record, int family);

  bool RouteRules();
  bool NextHopRule();
  bool LimitRule();
  bool BlackHoleRule();
  bool OutputRule();

  std::vector<const Reader*> AllReaders() const { return {&mgmt_, &l3_, &lo_}; }
  const Reader* ReaderOf(Target target) const;
  static const std::vector<Prefix>& AddressesOf(const Record& record,
                                                int family);
  bool Refuse(const std::string& text);

  Reader l3_;
  Reader lo_;
  Reader mgmt_;

  // In the order filed. Of several with one key the first one counts.
  std::vector<Route> ipv4_routes_;
  std::vector<Route> ipv6_routes_;
  std::uint32_t ipv4_count_ = 0;
  std::uint32_t ipv6_count_ = 0;
  bool ipv4_routes_read_ = false;
  bool ipv6_routes_read_ = false;

  // Of the call that runs.
  const Configuration* current_ = nullptr;
  std::string rule_text_;
  Answer answer_;
};

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_PLAIN_MODEL_H_
