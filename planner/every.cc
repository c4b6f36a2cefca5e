#include "planner/every.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "host/confd/path.h"
#include "messages/data_view.h"
#include "planner/composer.h"
#include "planner/conflicts.h"
#include "planner/named_items.h"

namespace ipav::planner {

namespace {

using commit::Answer;
using commit::CallName;
using commit::Outcome;
using messages::Configuration;
using messages::Culprit;
using messages::DataView;
using messages::Finding;

constexpr char kLimitReached[] = "there are more findings (--limit)";
constexpr char kTimeOver[] = "there may be more findings (--timeout)";
constexpr char kRefusedCopy[] =
    "there may be more findings: the data model refuses a corrected copy";
constexpr char kFailedCopy[] =
    "there may be more findings: the plug-in failed on a corrected copy";
constexpr char kUnresolved[] =
    "there may be more findings: one of them names no node to correct";

constexpr char kAddressTwice[] = "address-twice";

// Roles of culprits, any of which can resolve a violation of a rule: the nodes
// with the roles of one group are taken away. No group: all culprits are.
using RoleGroups = std::vector<std::set<std::string>>;

const std::map<std::string, RoleGroups>& GroupsOfRules() {
  static const auto& groups = *new std::map<std::string, RoleGroups>{
      {"interface-overlap", {{"address"}, {"overlaps with"}}},
      {"address-is-network", {{"address"}}},
      {"address-is-broadcast", {{"address"}}},
      {kAddressTwice, {}},
      {"l3-name-too-long", {{"name"}}},
      {"l3-name-too-short", {{"name"}}},
      {"l3-name-characters", {{"name"}}},
      {"route-next-hop-is-own", {{"address"}, {"next hop"}}},
      {"route-black-hole-and-next-hop", {{"black hole"}, {"next hop"}}},
      {"route-output-without-vlan", {{"output interface of a route"}}},
      {"ospf-address-removed",
       {{"known to OSPFv2", "prefix length known to OSPFv2"}}},
      {"ospf-address-added", {{"address"}}},
      {"ospf-vrf-differs", {{"assigned to OSPFv2"}}},
      {"ospfv3-vrf-set", {{"interface in OSPFv3"}}},
      {"ospfv3-vlan-changed", {{"interface in OSPFv3"}}},
      {"ra-min-interval", {}},
      {"ra-lifetime", {}},
      {"ra-timer-missing", {}},
  };
  return groups;
}

// A rule on the number of entries of a list, of which so many always fit.
struct TotalRule {
  const char* list;
  std::size_t room;
};

std::optional<TotalRule> TotalOf(const std::string& rule) {
  if (rule == "l3-too-many") return TotalRule{"l3", 256};
  if (rule == "route-too-many") return TotalRule{"rtmStaticRtEntry", 500};
  return std::nullopt;
}

// ---- Ways to resolve a violation -------------------------------------------

// Each way leaves one part of the list.
std::vector<Paths> WaysOfTotal(const DataView& view, const TotalRule& total) {
  const lyd_node* parent =
      total.list == std::string("l3")
          ? view.At(nullptr, {"config", "interface"})
          : view.At(nullptr, {"DC-RTM-MIB", "rtmStaticRtTable"});
  std::vector<std::string> entries;
  for (const lyd_node* entry : view.Entries(parent, total.list)) {
    entries.push_back(confd::PrintPath(entry));
  }
  std::vector<Paths> ways;
  for (std::size_t begin = 0; begin < entries.size(); begin += total.room) {
    Paths way;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (i < begin || i >= begin + total.room) way.insert(entries[i]);
    }
    ways.push_back(std::move(way));
  }
  return ways;
}

// None for a text that is not understood.
std::vector<Paths> WaysOf(const Finding& finding, const DataView& view) {
  if (const auto total = TotalOf(finding.rule)) {
    return WaysOfTotal(view, *total);
  }
  const auto found = GroupsOfRules().find(finding.rule);
  if (found == GroupsOfRules().end()) return {};
  const RoleGroups& groups = found->second;

  // 1. The nodes of each group.
  std::vector<Paths> ways(std::max<std::size_t>(groups.size(), 1));
  for (const Culprit& culprit : finding.culprits) {
    const lyd_node* node = view.AtPath(culprit.path);
    if (node == nullptr) continue;
    const std::string path = confd::PrintPath(NodeToTakeAway(node));
    if (groups.empty()) ways.front().insert(path);
    for (std::size_t i = 0; i < groups.size(); ++i) {
      if (groups[i].count(culprit.role) > 0) ways[i].insert(path);
    }
  }
  // 2. One of several equal addresses stays.
  if (finding.rule == kAddressTwice) {
    const Paths all = ways.front();
    ways.assign(all.size(), all);
    std::size_t i = 0;
    for (const std::string& path : all) ways[i++].erase(path);
  }
  ways.erase(std::remove_if(ways.begin(), ways.end(),
                            [](const Paths& way) { return way.empty(); }),
             ways.end());
  return ways;
}

// ---- The search ------------------------------------------------------------

// The refusals of one call of a validation point.
struct Call {
  CallName name;
  std::vector<Finding> findings;
  Conflicts conflicts;

  // Whether it judges only its own instance: what is taken away there does not
  // concern the same point at another one.
  bool IsLocal(const Conflicts::Question& question) const {
    const std::string top = name.second + "/";
    return std::all_of(
        question.away.begin(), question.away.end(),
        [&](const std::string& path) { return path.rfind(top, 0) == 0; });
  }
};

class EverySearch {
 public:
  EverySearch(const Configuration& running, const Configuration& candidate,
              const EveryOptions& options)
      : running_(running),
        candidate_(candidate),
        options_(options),
        countdown_(options.time),
        composer_(*candidate.tree, *candidate.tree),
        finder_(running, candidate) {}

  EveryFinding Run(const Outcome& outcome) {
    // 1. What the commit reports.
    for (const Answer& answer : outcome.answers) {
      names_.emplace(answer.opaque, answer.path);
      if (!messages::IsRefusal(answer)) continue;
      Call& call = calls_.emplace_back();
      call.name = {answer.opaque, answer.path};
      call.findings.push_back(finder_.Explain(answer));
      ++count_;
      call.conflicts.OnViolation(
          {}, KeyOf(call.findings.back()),
          WaysOf(call.findings.back(), DataView(*candidate_.tree)));
    }
    // 2. What hides behind it.
    for (Call& call : calls_) {
      while (more_.empty()) {
        const auto question = call.conflicts.Next();
        if (!question) break;
        AskTogether(call, *question);
      }
    }
    // 3. In the order of the calls.
    EveryFinding every;
    for (Call& call : calls_) {
      if (more_.empty() && call.conflicts.is_stuck()) more_ = kUnresolved;
      std::move(call.findings.begin(), call.findings.end(),
                std::back_inserter(every.findings));
    }
    every.more = more_;
    return every;
  }

 private:
  using Asked = std::vector<std::pair<Call*, Conflicts::Question>>;

  // The number of entries that a text names may be another one in a copy.
  static std::string KeyOf(const Finding& finding) {
    return TotalOf(finding.rule) ? finding.rule : finding.text;
  }

  // Asks also those other calls that have the same question, or that do not
  // look at the same nodes.
  void AskTogether(Call& call, const Conflicts::Question& question) {
    Asked asked = {{&call, question}};
    for (Call& other : calls_) {
      if (&other == &call) continue;
      const auto next = other.conflicts.Next();
      if (!next) continue;
      const bool is_apart = call.name.first == other.name.first &&
                            call.IsLocal(question) && other.IsLocal(*next);
      const bool is_same =
          next->away == question.away && !call.IsLocal(question);
      if (is_apart || is_same) asked.emplace_back(&other, *next);
    }
    Ask(asked);
  }

  void Ask(const Asked& asked) {
    // 1. Make the copy.
    Paths away;
    for (const auto& [call, question] : asked) {
      away.insert(question.away.begin(), question.away.end());
    }
    const auto copy = Without(away);
    if (copy->tree == nullptr) {
      more_ = kRefusedCopy;
      return;
    }
    // 2. Judge it.
    const int left = countdown_.ForPoll();
    if (left == 0) {
      more_ = kTimeOver;
      return;
    }
    const base::TimeLimit time =
        left < 0 ? base::kNoTimeLimit : base::TimeLimit(left);
    const Outcome outcome = commit::RunCommit(
        *running_.tree, *copy->tree, {options_.plugin, true, time, &names_});
    if (outcome.verdict == commit::Verdict::kPluginFailed) {
      more_ = countdown_.ForPoll() == 0 ? kTimeOver : kFailedCopy;
      return;
    }
    // 3. Take the answers.
    messages::Finder finder(running_, {copy->tree, "", nullptr});
    for (const auto& [call, question] : asked) {
      const auto found =
          std::find_if(outcome.answers.begin(), outcome.answers.end(),
                       [&, name = call->name](const Answer& answer) {
                         return messages::IsRefusal(answer) &&
                                CallName(answer.opaque, answer.path) == name;
                       });
      if (found == outcome.answers.end()) {
        call->conflicts.OnAccepted(question);
      } else {
        const Finding finding = finder.Explain(*found);
        const bool is_new = !call->conflicts.Knows(KeyOf(finding));
        call->conflicts.OnViolation(question, KeyOf(finding),
                                    WaysOf(finding, DataView(*copy->tree)));
        if (is_new) Add(*found, call);
      }
    }
  }

  // The candidate without these nodes.
  std::shared_ptr<const Composed> Without(const Paths& away) {
    State detours;
    for (const std::string& path : away) {
      const lyd_node* node = DataView(*candidate_.tree).AtPath(path);
      if (node != nullptr) detours.insert(composer_.DetourOf(*node));
    }
    return composer_.Compose(detours);
  }

  // Lists the violation if the candidate has it.
  void Add(const Answer& answer, Call* call) {
    Finding finding = finder_.Explain(answer);
    if (finding.culprits.empty() && !TotalOf(finding.rule)) return;
    if (count_ >= options_.limit) {
      more_ = kLimitReached;
      return;
    }
    ++count_;
    finding.is_behind = true;
    call->findings.push_back(std::move(finding));
  }

  const Configuration& running_;
  const Configuration& candidate_;
  const EveryOptions& options_;
  const base::Countdown countdown_;
  Composer composer_;  // its detours take away nodes of the candidate
  messages::Finder finder_;
  std::set<CallName> names_;  // of the commit
  std::vector<Call> calls_;
  std::size_t count_ = 0;
  std::string more_;
};

}  // namespace

EveryFinding FindEvery(const Configuration& running,
                       const Configuration& candidate, const Outcome& outcome,
                       const EveryOptions& options) {
  return EverySearch(running, candidate, options).Run(outcome);
}

}  // namespace ipav::planner
