// The page of ipav plan --report: the commits of each device, drawn one below
// the other, with a bracket for each detour.
#ifndef IPAV_CLI_PLAN_PLAN_PAGE_H_
#define IPAV_CLI_PLAN_PLAN_PAGE_H_

#include <cstddef>
#include <string>
#include <vector>

#include "cli/plan/plan_report.h"
#include "cli/report/html/html.h"
#include "planner/composer.h"

namespace ipav::cli::plan {

extern const report::PageWords kPlanPage;

// The section of a device that has no plan.
std::string SectionWithoutPlan(const report::PageEntry& device);

std::string PlanSection(std::size_t number, const PlanReport& report,
                        const planner::Composer& composer);

// What is refused, in the words of the plug-in or of the model.
std::vector<std::string> ProblemsOf(const PlanReport& report);

}  // namespace ipav::cli::plan

#endif  // IPAV_CLI_PLAN_PLAN_PAGE_H_
