// A second, simple implementation of the rules: computes the answer of each
// call from a description of the configuration. It has no indexes, and uses
// none of the plug-in's code or types, so that the two do not share mistakes.
#ifndef IPAV_TESTS_MODEL_PLAIN_MODEL_H_
#define IPAV_TESTS_MODEL_PLAIN_MODEL_H_

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "tests/model/configuration.h"

namespace ipav::model {

// ---- Calls and answers -----------------------------------------------------

enum class Action : std::uint8_t {
  kValidate,     // the entry point
  kReadRoutes,   // the static routes of one family, as callbacks do
  kRouteRules,   // the rules for static routes, on what was read
  kNextHopRule,  // ... and its parts
  kLimitRule,
  kBlackHoleRule,
  kOutputRule,
  kMerge,  // merge both families' records of l3
};

struct Call {
  Action action = Action::kValidate;
  std::string opaque;
  Place place;                  // of the validation point
  int family = 4;               // of kReadRoutes
  std::size_t transaction = 0;  // whose configuration is current
};

// The exceptions that a call can throw.
enum class Exception : std::uint8_t {
  kNone,
  kShortName,       // of an output interface
  kNoNumber,        // a compound identifier that is none
  kNumberTooLarge,  // ... that no number can hold
  kNoAddress,       // an area or address that is none
};

struct Answer {
  int verdict = 0;
  std::optional<std::string> text;
  std::string format;                      // of `text`, set by kValidate only
  Exception exception = Exception::kNone;  // of any, verdict says nothing
  std::vector<std::string> faults;
  std::vector<std::string> log;
};

bool operator==(const Answer& a, const Answer& b);

// For the report of a counterexample.
std::ostream& operator<<(std::ostream& out, const Call& call);
std::ostream& operator<<(std::ostream& out, const Answer& answer);

// ---- The model -------------------------------------------------------------

// One life cycle of the library, from lib_init() to lib_finish(): what was read
// is not read again.
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
  // An interface in an OSPFv2 process.
  struct Assignment {
    std::string interface_name;
    std::uint32_t process_id = 0;
    std::string vrf;
    Octets area;
    std::vector<Prefix> addresses;
  };

  // plain_model.cc: the calls.
  void Validate(const Call& call);
  void ValidateNames();
  void ValidateAddresses(const Place& place, int family);
  void ValidateRoutes(int family);
  void ValidateOutputs();
  void ValidateOspfAddresses();
  void ValidateVrfs(const Place& place);
  // Stores the text of a violated rule. Returns false.
  bool Refuse(const std::string& text);
  // Makes the answer from the result of a rule.
  void Report(bool holds);
  // Makes the answer with a text that the callback itself sets.
  void Reject(const std::string& format, const std::string& text);

  // plain_model_readers.cc: the reads, once per family. A read that throws
  // stores the exception in the answer and returns false.
  void ReadL3(int family);
  void ReadLoopback(int family);
  void ReadMgmt(int family);
  void AppendEntries(const std::vector<AddressEntry>& entries,
                     const std::string& family_word,
                     std::vector<Prefix>* prefixes);
  void ReportMissing(const std::string& family_word, const std::string& key);
  void MergeL3s();
  static void Merge(const Record& record, Reader* reader);
  bool ReadRoutes(int family);
  bool ReadRows(int family);
  std::string VrfOfId(std::uint32_t id) const;
  std::string OutputOf(const RouteRow& row, bool* too_short) const;
  const Reader* ReaderOf(const std::string& list) const;
  std::vector<const Reader*> AllReaders() const { return {&mgmt_, &l3_, &lo_}; }

  // plain_model_rules.cc: interfaces and static routes.
  bool NamesHold();
  bool AddressesHold(const Reader& changed, int family);
  bool IsUsable(const Record& record);
  bool HasDuplicate(const Record& record, int family);
  bool Overlap(const Record& a, const Record& b, int family);
  bool IsNextHop(const Record& record, int family);
  static const std::vector<Prefix>& AddressesOf(const Record& record,
                                                int family);
  bool RouteRules();
  bool NextHopRule();
  bool LimitRule();
  bool BlackHoleRule();
  bool OutputRule();

  // plain_model_ospf.cc: OSPFv2 and OSPFv3.
  bool ReadOspf();
  bool ReadOspfRow(const Ospfv2Row& row);
  std::int32_t LengthOf(std::uint32_t compound_id, const Octets& area,
                        const std::string& interface_key,
                        const Octets& address);
  std::uint32_t ProcessOf(std::uint32_t compound_id);
  std::string VrfOfProcess(std::uint32_t compound_id);
  void MergeAssignment(const Assignment& assignment);
  bool OspfAddressesHold(const Reader& reader);
  bool OspfAddressesHold(const Assignment& assignment, const Record& record);
  bool OspfVrfsHold(const Reader& reader);
  bool ChangedVrfsHold(const Place& place);
  bool IsInOspfv3(const std::string& name) const;
  void ValidateVlan(const Place& place);

  // plain_model_timers.cc
  enum class Timer : std::uint8_t { kMinInterval, kLifetime };
  void ValidateTimers(const Place& place, Timer other);
  void JudgeMinInterval(std::uint16_t max, const Leaf<std::uint16_t>& min);
  void JudgeLifetime(std::uint16_t max, const Leaf<std::uint16_t>& lifetime);
  RaTimers TimersOf(const std::string& list, const std::string& key) const;

  Reader l3_;
  Reader lo_;
  Reader mgmt_;

  // In the order in which they were read. Of several with one key the first one
  // counts.
  std::vector<Route> ipv4_routes_;
  std::vector<Route> ipv6_routes_;
  std::uint32_t ipv4_count_ = 0;
  std::uint32_t ipv6_count_ = 0;
  bool ipv4_routes_read_ = false;
  bool ipv6_routes_read_ = false;

  std::vector<Assignment> assignments_;
  bool ospf_read_ = false;

  // Of the call that runs.
  const Configuration* current_ = nullptr;
  std::string rule_text_;
  Answer answer_;
};

// The element with this index, counted from the leaf as in a key path; empty
// beyond the root.
std::string ElementOf(const Place& place, std::size_t from_leaf);

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_PLAIN_MODEL_H_
