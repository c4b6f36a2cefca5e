#include "host/engine/engine.h"

#include <utility>

#include "host/base/stopwatch.h"
#include "host/commit/child_messages.h"
#include "host/commit/life.h"
#include "host/datastore/diff.h"

namespace ipav::engine {

namespace {

using commit::Outcome;
using commit::Reporter;
using datastore::DataTree;

// The only message of a child that could not make the edits; its text says why.
constexpr char kNoCandidate = 'R';

}  // namespace

Engine::Engine(const DataTree& running, commit::Options options)
    : running_(running), options_(std::move(options)), base_(running.Copy()) {
  base_.IndexLists();
}

Engine::~Engine() = default;

Outcome Engine::Judge(const std::vector<Edit>& edits) {
  const std::string request = Encode(edits);
  const bool is_first = server_ == nullptr;
  Outcome outcome = Ask(request);
  if (outcome.verdict != commit::Verdict::kPluginFailed) return outcome;
  // A plug-in that was loaded before may fail otherwise than one that is not.
  server_.reset();
  return is_first ? outcome : Ask(request);
}

Outcome Engine::Ask(const std::string& request) {
  if (server_ == nullptr) {
    server_ = std::make_unique<commit::ForkServer>(
        [this](const std::string& edits, const Reporter& reporter) {
          Live(edits, reporter);
        },
        [this] { plugin_.emplace(options_.plugin); });
  }
  base::Stopwatch watch;
  const commit::ChildReport report = server_->Run(request, options_.time_limit);
  if (!report.messages.empty() && report.messages[0].kind == kNoCandidate) {
    throw EditError(report.messages[0].texts[0]);
  }
  Outcome outcome = commit::ReadOutcome(report, options_.time_limit);
  outcome.times.child = watch.Lap();
  return outcome;
}

// In a child, which may change all that the server has.
void Engine::Live(const std::string& request, const Reporter& reporter) {
  const DataTree* candidate = nullptr;
  datastore::Leaves leaves;
  try {
    // Not freed: the process ends.
    candidate =
        new DataTree(Edited(std::move(base_), Decode(request), &leaves));
  } catch (const EditError& error) {
    reporter.Send({kNoCandidate, {error.what()}});
    return;
  }
  const datastore::Diff diff(running_, *candidate, leaves);
  commit::RunLife(
      {[this]() -> const DataTree& { return running_; }, *candidate, diff},
      options_, std::move(plugin_), reporter);
}

}  // namespace ipav::engine
