#include "check.h"

#include <confd_lib.h>
#include <fmt/core.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "base/stopwatch.h"
#include "commit/commit.h"
#include "datastore/data_tree.h"
#include "datastore/input_error.h"
#include "datastore/input_text.h"
#include "datastore/model.h"
#include "datastore/transaction.h"
#include "reading_time.h"
#include "timing.h"

namespace ipav::cli {

namespace {

using commit::Answer;
using commit::Outcome;
using commit::Verdict;
using datastore::DataTree;
using datastore::InputError;
using datastore::InputText;
using datastore::Model;
using datastore::ReadingTimes;
using datastore::Running;
using datastore::Transaction;

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

const char* WordOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::kAccepted:
      return "accepted";
    case Verdict::kRefused:
      return "refused";
    case Verdict::kPluginFailed:
      break;
  }
  return "not judged, the plug-in failed";
}

void PrintPlace(const std::string& point, const std::string& path) {
  fmt::print("  validation point: {}\n  data path: {}\n", point, path);
}

// The operator's text stands alone on its line, byte for byte as the plug-in
// set it, also where it is no UTF-8 or has more than one line.
void PrintAnswer(const Answer& answer) {
  if (answer.exception.has_value()) {
    fmt::print("the plug-in threw an exception: {}\n", *answer.exception);
  } else if (answer.result == CONFD_OK) {
    fmt::print("(accepted)\n");
  } else if (Accepts(answer)) {
    fmt::print("(accepted with a warning)\n{}\n",
               answer.text.value_or("(without a text)"));
  } else {
    fmt::print("{}\n", answer.text.value_or("(refused without a text)"));
  }
  PrintPlace(answer.opaque, answer.path);
  if (!Accepts(answer) && !answer.exception && answer.result != CONFD_ERR) {
    fmt::print("  result: {}, taken for a refusal\n", answer.result);
  }
}

void PrintFailure(const Outcome& outcome) {
  fmt::print("the plug-in failed: {}\n", outcome.failure);
  if (!outcome.failed_path.empty()) {
    PrintPlace(outcome.failed_point, outcome.failed_path);
  }
}

// Each line of a text behind a label.
void PrintLines(const char* label, const std::string& text) {
  std::size_t begin = 0;
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    fmt::print("  {}: {}\n", label, text.substr(begin, end - begin));
    begin = end + 1;
  }
}

void PrintDetails(const Outcome& outcome) {
  for (const std::string& line : outcome.debug_lines) {
    PrintLines("debug", line);
  }
  std::uint64_t total = 0;
  for (const auto& [name, count] : outcome.calls) {
    fmt::print("  platform call: {} {}\n", name, count);
    total += count;
  }
  fmt::print("  platform calls: {}\n", total);
}

void PrintReport(const std::string& file, const Outcome& outcome,
                 const CheckOptions& options) {
  fmt::print("{}: {} ({} of {} validation calls made)\n", file,
             WordOf(outcome.verdict), outcome.answers.size(), outcome.planned);
  for (const Answer& answer : outcome.answers) {
    const bool silent = answer.result == CONFD_OK && !answer.exception;
    if (!silent || options.all) PrintAnswer(answer);
  }
  if (!outcome.failure.empty()) PrintFailure(outcome);
  PrintLines("the plug-in wrote", outcome.output);
  for (const std::string& fault : outcome.faults) PrintLines("warning", fault);
  for (const std::string& what : outcome.left_open) {
    fmt::print("  warning: the plug-in left {} open\n", what);
  }
  if (options.verbose) PrintDetails(outcome);
}

// Leaves something to the end of the program, which is near: to take large
// configurations apart node by node takes a fifth of the time of reading them.
template <typename T>
T& Keep(std::unique_ptr<T> kept) {
  static auto& all = *new std::vector<std::unique_ptr<T>>;
  all.push_back(std::move(kept));
  return *all.back();
}

// Reads the files of a check.
class Reader {
 public:
  Reader(const Model& model, const CheckOptions& options)
      : model_(model), options_(options), running_(ReadRunning()) {}

  // A candidate, with what it changes in the running configuration.
  std::unique_ptr<Transaction> Read(const std::string& file) {
    ReadingTimes times;
    std::optional<Candidate> candidate;
    try {
      candidate = ReadCandidate(file, &times);
    } catch (const InputError&) {
      // The first file that is wrong is the one to be told of.
      const ReadingTime limit(options_.running, options_.time_limit);
      static_cast<void>(running_.Tree());
      throw;
    }
    base::Stopwatch watch;
    const base::Duration before = RunningTime();
    auto transaction = Compare(std::move(*candidate));
    const base::Duration diff = watch.Lap() - (RunningTime() - before);
    if (options_.timing) {
      PrintTimes(file, times);
      PrintTime(file + ": diff", diff);
    }
    return transaction;
  }

  void PrintTimesOfRunning() const {
    if (options_.running.empty()) return;
    ReadingTimes times = running_.times();
    times.text = running_text_;
    PrintTimes(options_.running, times);
  }

 private:
  struct Candidate {
    InputText text;
    DataTree tree;
  };

  Running ReadRunning() {
    if (options_.running.empty()) return Running(model_);
    const ReadingTime limit(options_.running, options_.time_limit);
    base::Stopwatch watch;
    InputText text =
        datastore::ReadText(options_.running, options_.max_input_size);
    running_text_ = watch.Lap();
    return {model_, std::move(text)};
  }

  Candidate ReadCandidate(const std::string& file, ReadingTimes* times) const {
    const ReadingTime limit(file, options_.time_limit);
    base::Stopwatch watch;
    InputText text = datastore::ReadText(file, options_.max_input_size);
    times->text = watch.Lap();
    DataTree tree = DataTree::FromText(model_, text, times);
    return {std::move(text), std::move(tree)};
  }

  std::unique_ptr<Transaction> Compare(Candidate candidate) const {
    const ReadingTime limit(options_.running, options_.time_limit);
    return std::make_unique<Transaction>(running_, std::move(candidate.tree),
                                         candidate.text);
  }

  base::Duration RunningTime() const {
    return running_.times().parse + running_.times().validation;
  }

  const Model& model_;
  const CheckOptions& options_;
  base::Duration running_text_{};
  const Running running_;
};

}  // namespace

ExitStatus Check(const Locations& locations, const CheckOptions& options) {
  base::Stopwatch total;
  base::Stopwatch watch;
  const Model& model = Keep(
      std::make_unique<Model>(locations.yang_dir, locations.yang_extension));
  if (options.timing) PrintTime("data model", watch.Lap());
  Reader& reader = Keep(std::make_unique<Reader>(model, options));
  // All of them first: bad input is told of before any verdict.
  std::vector<const Transaction*> transactions;
  for (const std::string& file : options.candidates) {
    transactions.push_back(&Keep(reader.Read(file)));
  }
  if (options.timing) reader.PrintTimesOfRunning();

  ExitStatus worst = kAccepted;
  for (std::size_t i = 0; i < transactions.size(); ++i) {
    const Outcome outcome = commit::RunCommit(
        *transactions[i], {locations.plugin, options.all, options.time_limit});
    PrintReport(options.candidates[i], outcome, options);
    if (options.timing) PrintTimes(options.candidates[i], outcome.times);
    worst = std::max(worst, StatusOf(outcome.verdict));
  }
  if (options.timing) PrintTime("total", total.Lap());
  return worst;
}

}  // namespace ipav::cli
