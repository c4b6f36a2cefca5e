#include "check.h"

#include <algorithm>
#include <cstdio>
#include <list>
#include <string>
#include <utility>

#include "color.h"
#include "commit/commit.h"
#include "datastore/data_tree.h"
#include "datastore/input_file.h"
#include "datastore/model.h"
#include "findings/finder.h"
#include "reading_time.h"
#include "report/device_report.h"
#include "report/text.h"
#include "source/source_text.h"

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

// A configuration with the text that it was read from, kept for what a finding
// shows of it.
class Input {
 public:
  // Nothing is configured.
  explicit Input(const Model& model) : tree_(DataTree::Empty(model)) {}

  Input(const Model& model, std::string file, const CheckOptions& options)
      : file_(std::move(file)), tree_(Read(model, options)), source_(text_) {}

  const DataTree& tree() const { return tree_; }

  findings::Configuration configuration() const {
    return {&tree_, file_, file_.empty() ? nullptr : &source_};
  }

 private:
  DataTree Read(const Model& model, const CheckOptions& options) {
    const ReadingTime time(file_, options.time_limit);
    text_ = datastore::ReadInput(file_, options.max_input_size);
    return DataTree::FromText(model, file_, text_);
  }

  std::string file_;
  std::string text_;
  DataTree tree_;
  source::SourceText source_{text_};
};

}  // namespace

ExitStatus Check(const Locations& locations, const CheckOptions& options) {
  const Model model(locations.yang_dir, locations.yang_extension);
  const Input running = options.running.empty()
                            ? Input(model)
                            : Input(model, options.running, options);
  // All of them first: bad input is told of before any verdict.
  std::list<Input> candidates;
  for (const std::string& file : options.candidates) {
    candidates.emplace_back(model, file, options);
  }

  report::TextWriter writer(
      {options.all, options.verbose, WantsColor(options.color, stdout)});
  ExitStatus worst = kAccepted;
  for (const Input& candidate : candidates) {
    report::DeviceReport device;
    device.running = options.running;
    device.candidate = candidate.configuration().file;
    device.outcome =
        commit::RunCommit(running.tree(), candidate.tree(),
                          {locations.plugin, options.all, options.time_limit});
    device.status = StatusOf(device.outcome.verdict);
    device.findings =
        findings::Finder(running.configuration(), candidate.configuration())
            .ExplainAll(device.outcome);
    writer.Add(device);
    worst = std::max(worst, device.status);
  }
  return worst;
}

}  // namespace ipav::cli
