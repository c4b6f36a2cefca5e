#include "check.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "commit/commit.h"
#include "datastore/data_tree.h"
#include "datastore/model.h"
#include "reading_time.h"
#include "report/device_report.h"
#include "report/text.h"

namespace ipav::cli {

namespace {

using commit::Verdict;
using datastore::DataTree;
using datastore::Model;

ExitStatus StatusOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kAccepted:
      return kAccepted;
    case Verdict::kRefused:
      return kRefused;
    case Verdict::kPluginFailed:
      break;
  }
  return kPluginFailed;
}

DataTree Read(const Model& model, const std::string& file,
              const CheckOptions& options) {
  const ReadingTime time(file, options.time_limit);
  return DataTree::FromFile(model, file, options.max_input_size);
}

}  // namespace

ExitStatus Check(const Locations& locations, const CheckOptions& options) {
  const Model model(locations.yang_dir, locations.yang_extension);
  const DataTree running = options.running.empty()
                               ? DataTree::Empty(model)
                               : Read(model, options.running, options);
  // All of them first: bad input is told of before any verdict.
  std::vector<DataTree> candidates;
  for (const std::string& file : options.candidates) {
    candidates.push_back(Read(model, file, options));
  }

  report::TextWriter writer({options.all, options.verbose});
  ExitStatus worst = kAccepted;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    report::DeviceReport device;
    device.running = options.running;
    device.candidate = options.candidates[i];
    device.outcome =
        commit::RunCommit(running, candidates[i],
                          {locations.plugin, options.all, options.time_limit});
    device.status = StatusOf(device.outcome.verdict);
    writer.Add(device);
    worst = std::max(worst, device.status);
  }
  return worst;
}

}  // namespace ipav::cli
