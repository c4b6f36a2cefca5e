// What ipav plan found, for people and for programs.
#ifndef IPAV_CLI_PLAN_PLAN_REPORT_H_
#define IPAV_CLI_PLAN_PLAN_REPORT_H_

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/exit_status.h"
#include "cli/plan/replay.h"
#include "cli/report/device_report.h"
#include "planner/composer.h"
#include "planner/order.h"

namespace ipav::cli::plan {

// A set of changes that is refused in any order.
struct Core {
  std::vector<std::size_t> items;
  bool is_smallest = true;  // without any one of them, the others can be made
  // The refusal of these changes after those that can be made, or alone.
  report::DeviceReport refusal;
};

struct PlanReport {
  std::string running;  // file; empty: no running configuration
  std::string goal;     // file
  bool reached = false;
  bool proven = false;      // as of planner::SearchResult
  bool each = false;        // as many commits as possible were wanted
  bool is_limited = false;  // the search ended before it was complete
  std::string one_commit;   // refusal of all changes in one commit, if any
  std::vector<Step> steps;  // to the goal; else of the changes that can be made
  std::vector<Core> cores;  // why the goal is not reached
  std::size_t unexamined = 0;  // changes, because there are too many cores
  std::vector<std::size_t> left_out;  // changes that no step makes
  // Deletions that the steps make, of list entries beside an added one that is
  // left out.
  std::vector<std::size_t> unreplaced;
  std::vector<planner::Constraint> constraints;  // only for a page
  std::size_t verdicts = 0;
  double seconds = 0;
  std::string failure;  // of the plug-in, in one of its judgements
};

ExitStatus StatusOf(const PlanReport& report);

// A node that is away for some commits.
struct Detour {
  std::string path;
  std::size_t away;    // number of the commit that takes it away
  std::size_t back;    // and of that which puts it back
  std::string effect;  // what is missing in between
};

std::vector<Detour> DetoursOf(const PlanReport& report,
                              const planner::Composer& composer);

// "2 commits (fewest, 5 verdicts)", or why no plan was found.
std::string ResultOf(const PlanReport& report);

// A line for each change, printable.
std::vector<std::string> LinesOf(const std::vector<std::size_t>& items,
                                 const planner::Composer& composer);

// "1 commit", "3 commits"
std::string Counted(std::size_t count, const char* what);

// For people, with the bytes that the plug-in wrote. The composer has the items
// of the report.
std::string InWords(const PlanReport& report,
                    const planner::Composer& composer);

inline constexpr int kPlanVersion = 1;  // of the JSON format

// By the schema in docs/plan.schema.json, without its format.
nlohmann::ordered_json ToJson(const PlanReport& report,
                              const planner::Composer& composer);

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_PLAN_REPORT_H_
