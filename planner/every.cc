#include "planner/every.h"

#include <libyang/libyang.h>

#include <algorithm>
#include <iterator>
#include <list>
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

// Sets of entries of which the rule accepts the rest: the list is divided into
// blocks, and each two blocks are the rest of one set, so that each two entries
// are judged together.
std::vector<Paths> DivisionsOf(const DataView& view, const TotalRule& total) {
  const lyd_node* parent =
      total.list == std::string("l3")
          ? view.At(nullptr, {"config", "interface"})
          : view.At(nullptr, {"DC-RTM-MIB", "rtmStaticRtTable"});
  const std::vector<const lyd_node*> entries = view.Entries(parent, total.list);
  const std::size_t size = total.room / 2;
  const std::size_t blocks =
      std::max<std::size_t>(2, (entries.size() + size - 1) / size);
  std::vector<Paths> divisions;
  for (std::size_t first = 0; first < blocks; ++first) {
    for (std::size_t second = first + 1; second < blocks; ++second) {
      Paths& away = divisions.emplace_back();
      for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i / size == first || i / size == second) continue;
        away.insert(confd::PrintPath(entries[i]));
      }
    }
  }
  return divisions;
}

// None for a text that is not understood.
std::vector<Paths> WaysOf(const Finding& finding, const DataView& view) {
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
  std::set<std::string>
      texts;  // of the findings, and others that the candidate does not have
};

// What is asked about a call: once, or for each division of a list with too
// many entries.
struct Inquiry {
  Call* call;
  Conflicts conflicts;
  bool is_division = false;
  bool is_over = false;  // continued by those of the divisions

  std::optional<Conflicts::Question> Next() const {
    return is_over ? std::nullopt : conflicts.Next();
  }

  // Whether it judges only its own instance: what is taken away there does not
  // concern the same point at another one.
  bool IsLocal(const Conflicts::Question& question) const {
    const std::string top = call->name.second + "/";
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
      call.texts.insert(call.findings.back().text);
      ++count_;
      Take({}, call.findings.back(), *candidate_.tree,
           &inquiries_.emplace_back(Inquiry{&call, Conflicts()}));
    }
    // 2. What hides behind it.
    try {
      FindHidden();
    } catch (const base::TimeOver&) {
      more_ = kTimeOver;
    }
    // 3. In the order of the calls.
    EveryFinding every;
    for (Call& call : calls_) {
      std::move(call.findings.begin(), call.findings.end(),
                std::back_inserter(every.findings));
    }
    every.more = more_;
    return every;
  }

 private:
  void FindHidden() {
    for (Inquiry& inquiry : inquiries_) {
      while (more_.empty()) {
        const auto question = inquiry.Next();
        if (!question) break;
        AskTogether(&inquiry, *question);
      }
      if (more_.empty() && inquiry.conflicts.is_stuck()) more_ = kUnresolved;
    }
  }

  using Asked = std::vector<std::pair<Inquiry*, Conflicts::Question>>;

  // Asks also those other calls that have the same question, or that do not
  // look at the same nodes.
  void AskTogether(Inquiry* inquiry, const Conflicts::Question& question) {
    Asked asked = {{inquiry, question}};
    for (Inquiry& other : inquiries_) {
      if (other.call == inquiry->call) continue;
      const auto next = other.Next();
      if (!next) continue;
      const bool is_apart =
          inquiry->call->name.first == other.call->name.first &&
          inquiry->IsLocal(question) && other.IsLocal(*next);
      const bool is_same =
          next->away == question.away && !inquiry->IsLocal(question);
      if (is_apart || is_same) asked.emplace_back(&other, *next);
    }
    Ask(asked);
  }

  void Ask(const Asked& asked) {
    // 1. Make the copy.
    Paths away;
    for (const auto& [inquiry, question] : asked) {
      away.insert(question.away.begin(), question.away.end());
    }
    const auto copy = Without(away);
    if (copy->tree == nullptr) {
      more_ = kRefusedCopy;
      return;
    }
    // 2. Judge it.
    const Outcome outcome = commit::RunCommit(
        *running_.tree, *copy->tree,
        {options_.plugin, true, base::kNoTimeLimit, &names_}, countdown_);
    if (outcome.verdict == commit::Verdict::kPluginFailed) {
      more_ = kFailedCopy;
      return;
    }
    // 3. Take the answers.
    messages::Finder finder(running_, {copy->tree, "", nullptr});
    for (const auto& [inquiry, question] : asked) {
      const auto found =
          std::find_if(outcome.answers.begin(), outcome.answers.end(),
                       [&, name = inquiry->call->name](const Answer& answer) {
                         return messages::IsRefusal(answer) &&
                                CallName(answer.opaque, answer.path) == name;
                       });
      if (found == outcome.answers.end()) {
        inquiry->conflicts.OnAccepted(question);
      } else {
        const Finding finding = finder.Explain(*found);
        Take(question, finding, *copy->tree, inquiry);
        if (inquiry->call->texts.insert(finding.text).second) {
          Add(*found, inquiry->call);
        }
      }
    }
  }

  // Takes the answer that a tree is refused.
  void Take(const Conflicts::Question& question, const Finding& finding,
            const datastore::DataTree& tree, Inquiry* inquiry) {
    const auto total = TotalOf(finding.rule);
    if (!total || inquiry->is_division) {
      inquiry->conflicts.OnViolation(question, finding.text,
                                     WaysOf(finding, DataView(tree)));
      return;
    }
    const DataView candidate(*candidate_.tree);
    for (Paths& away : DivisionsOf(candidate, *total)) {
      inquiries_.push_back({inquiry->call, Conflicts(std::move(away)), true});
    }
    inquiry->is_over = true;
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
  // Lists: a division adds inquiries while others are borrowed.
  std::list<Call> calls_;
  std::list<Inquiry> inquiries_;
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
