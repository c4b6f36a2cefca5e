// ipav fix: corrects what a commit would be refused for.

#include <fmt/core.h>
#include <sys/stat.h>

#include <CLI/App.hpp>
#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/command.h"
#include "cli/fix/corrected_text.h"
#include "cli/options.h"
#include "cli/reading.h"
#include "cli/report/finding_text.h"
#include "cli/report/output_file.h"
#include "cli/shared_model.h"
#include "fixer/fixes.h"
#include "host/base/utf8.h"
#include "host/datastore/input_file.h"
#include "host/datastore/input_text.h"
#include "host/datastore/model.h"
#include "messages/finder.h"

namespace ipav::cli {

namespace {

using datastore::DataTree;
using datastore::InputText;
using datastore::Model;
using fixer::Fix;
using fixer::Fixer;
using messages::Finding;

constexpr char kFixNotes[] =
    R"(Prints the corrections as a unified diff. A safe correction does not
change what the configuration means; the others are suggestions, which
ipav check --suggest lists with their ids. Each is judged by the plug-in:
its refusal is gone, and no other one is new.

Examples:
  ipav fix --running running.xml candidate.xml
  ipav fix --running running.xml --suggested --write candidate.xml
  ipav fix --running running.xml --only F1.2 candidate.xml |
    patch candidate.xml

Exit status: 0 the corrected file is accepted, 1 refusals are left, 2 the
input or the command line is wrong, 3 the plug-in died, threw an exception
or did not answer in time.)";

// A correction may uncover the next refusal.
constexpr std::size_t kMostFixes = 10000;

struct FixOptions {
  Locations locations;
  std::string running;
  std::string file;
  std::vector<std::string> only;  // ids of fixes; empty: the first of each
  bool suggested = false;         // not only safe ones
  bool write = false;
  ReadingLimits limits;
};

class PluginFailed : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using Tree = std::shared_ptr<const DataTree>;

// Those in "F1.2"; zeros for another text.
std::pair<std::size_t, std::size_t> NumbersOf(const std::string& id) {
  const std::size_t point = id.find('.');
  if (id.rfind('F', 0) != 0 || point == std::string::npos) return {};
  const auto number = [](const std::string& digits) {
    std::size_t value = 0;
    const char* end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, value);
    return error == std::errc() && rest == end ? value : 0;
  };
  return {number(id.substr(1, point - 1)), number(id.substr(point + 1))};
}

// Refuses two fixes of one refusal: the second one would undo the first, or
// correct nothing.
void RefuseTwoOfOne(const std::vector<std::string>& ids) {
  std::map<std::size_t, std::string> by_finding;
  for (const std::string& id : ids) {
    const auto [other, is_first] = by_finding.emplace(NumbersOf(id).first, id);
    if (is_first || other->second == id) continue;
    throw std::runtime_error(other->second + " and " + id +
                             " correct the same refusal");
  }
}

// The refusal, and its node: other nodes may have the same text.
std::string InLines(const Finding& finding) {
  return base::Printable(report::TextOf(finding)) +
         "\n  data path: " + base::Printable(finding.path) + "\n";
}

// What a suggestion decides for the user.
std::string Taken(const Finding& finding, const std::string& fix) {
  return fmt::format("corrected: {}  suggested: {}\n", InLines(finding),
                     base::Printable(fix));
}

// Corrects one configuration, step by step.
class Correction {
 public:
  Correction(const DataTree& running, InputText text, Tree tree,
             const FixOptions& options)
      : running_(running),
        options_(options),
        countdown_(options.limits.time),
        text_(std::move(text)),
        tree_(std::move(tree)) {
    Judge();
  }

  // In the text as it was.
  const std::vector<source::Replacement>& replacements() const {
    return replacements_;
  }
  const std::vector<Finding>& findings() const { return findings_; }
  // Lines on the suggestions that were applied.
  const std::string& taken() const { return taken_; }

  // Applies the first fix of each refusal.
  void FixAll() {
    for (std::size_t count = 0; count < kMostFixes && FixNext(); ++count) {
    }
  }

  // Applies the fixes with these ids, which number those of the file as it is.
  void FixOnly(const std::vector<std::string>& ids) {
    std::vector<std::pair<Finding, Fix>> wanted;
    wanted.reserve(ids.size());
    for (const std::string& id : ids) wanted.push_back(WithId(id));
    RefuseTwoOfOne(ids);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      const auto id = ids.begin() + static_cast<std::ptrdiff_t>(i);
      if (std::find(ids.begin(), id, *id) != id) continue;  // given twice
      const auto& [finding, fix] = wanted[i];
      const std::vector<Fix>& fixes = FixesOf(finding);
      const auto found = std::find_if(
          fixes.begin(), fixes.end(),
          [&, text = fix.text](const Fix& one) { return one.text == text; });
      if (found == fixes.end()) {
        throw std::runtime_error(ids[i] + " does not hold after the others");
      }
      Apply(found->tree);
    }
  }

  // The ways out of a refusal that is left.
  const std::vector<Fix>& FixesOf(const Finding& finding) {
    const std::vector<std::string> key = messages::FaultOf(finding);
    const auto known = fixes_.find(key);
    if (known != fixes_.end()) return known->second;
    return fixes_.emplace(key, fixer_->FixesOf(finding)).first->second;
  }

 private:
  // The text changes step by step, so that an entry with another key is still
  // the same one when another step changes it.
  void Apply(const Tree& tree) {
    const auto step = fix::Correct(text_, *tree_, *tree);
    replacements_ = source::Compose(replacements_, text_.bytes, step);
    text_.bytes = source::Replace(text_.bytes, step);
    tree_ = tree;
    Judge();
  }

  void Judge() {
    fixes_.clear();
    fixer_ = std::make_unique<Fixer>(running_, *tree_,
                                     options_.locations.plugin, countdown_);
    const commit::Outcome& outcome = fixer_->outcome();
    if (outcome.verdict == commit::Verdict::kPluginFailed) {
      throw PluginFailed("the plug-in failed: " + (outcome.failure.empty()
                                                       ? "it threw an exception"
                                                       : outcome.failure));
    }
    findings_ =
        messages::Finder({&running_, "", nullptr}, {tree_.get(), "", nullptr})
            .ExplainAll(outcome);
  }

  bool FixNext() {
    for (const Finding& finding : findings_) {
      if (hopeless_.count(finding.text) > 0) continue;
      const std::vector<Fix>& fixes = FixesOf(finding);
      const auto found = std::find_if(
          fixes.begin(), fixes.end(),
          [&](const Fix& fix) { return fix.is_safe || options_.suggested; });
      if (found != fixes.end()) {
        const std::string taken =
            found->is_safe ? "" : Taken(finding, found->text);
        Apply(found->tree);
        taken_ += taken;
        return true;
      }
      hopeless_.insert(finding.text);
    }
    return false;
  }

  // Whether there is a finding of that number, and no earlier one is the same
  // fault of another point: they have one set of ids.
  bool IsFirst(std::size_t number) const {
    if (number == 0 || number > findings_.size()) return false;
    const auto last =
        findings_.begin() + static_cast<std::ptrdiff_t>(number) - 1;
    return std::none_of(findings_.begin(), last, [&](const Finding& earlier) {
      return messages::FaultOf(earlier) == messages::FaultOf(*last);
    });
  }

  std::pair<Finding, Fix> WithId(const std::string& id) {
    const auto [finding, fix] = NumbersOf(id);
    if (IsFirst(finding)) {
      const std::vector<Fix>& fixes = FixesOf(findings_[finding - 1]);
      if (fix > 0 && fix <= fixes.size()) {
        return {findings_[finding - 1], fixes[fix - 1]};
      }
    }
    throw std::runtime_error("no fix has the id " + id +
                             " (see ipav check --all --suggest)");
  }

  const DataTree& running_;
  const FixOptions& options_;
  const base::Countdown countdown_;
  InputText text_;
  Tree tree_;  // of the text
  std::vector<source::Replacement> replacements_;
  std::unique_ptr<Fixer> fixer_;
  std::vector<Finding> findings_;
  std::map<std::vector<std::string>, std::vector<Fix>> fixes_;  // of faults
  std::string taken_;
  std::set<std::string> hopeless_;  // texts of refusals
};

// Says what is left, and what can be done about it.
void PrintLeft(Correction* correction, bool has_ids) {
  std::set<std::vector<std::string>> faults;
  bool has_fix = false;
  for (const Finding& finding : correction->findings()) {
    if (!faults.insert(messages::FaultOf(finding)).second) continue;
    fmt::print(stderr, "not corrected: {}", InLines(finding));
    const std::vector<Fix>& fixes = correction->FixesOf(finding);
    has_fix |= !fixes.empty();
    if (fixes.empty()) fmt::print(stderr, "  {}\n", report::kNoFix);
    for (const Fix& fix : fixes) {
      fmt::print(stderr, "  {}: {}\n", fix.is_safe ? "safe" : "suggested",
                 base::Printable(fix.text));
    }
  }
  if (!has_fix) return;
  fmt::print(stderr, "{}\n",
             has_ids ? "(ipav check --all --suggest lists all fixes)"
                     : "(--suggested takes the first one of each)");
}

void Write(const std::string& file, const std::string& before,
           const std::string& after, std::size_t max_size) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
      datastore::IsText(file)) {
    throw std::runtime_error(file + ": --write needs a regular file");
  }
  if (datastore::ReadInput(file, max_size) != before) {
    throw std::runtime_error(file + ": was changed in the meantime");
  }
  report::OutputFile output(file, "configuration");
  static_cast<void>(
      std::fwrite(after.data(), 1, after.size(), output.stream()));
  output.Commit();
}

ExitStatus Correct(const FixOptions& options) {
  // 1. Read both configurations.
  if (options.write && options.file == datastore::kStandardInput) {
    throw std::runtime_error("--write corrects a file, not standard input");
  }
  if (options.write) report::RefuseToReplace(options.file, {options.running});
  const Model& model = SharedModel(options.locations);
  const DataTree running =
      options.running.empty()
          ? DataTree::Empty(model)
          : ReadTree(model, options.running, options.limits);
  std::string bytes;
  InputText text;
  const Tree tree = [&] {
    const ReadingTime time(options.file, options.limits.time);
    bytes = datastore::ReadInput(options.file, options.limits.size);
    text = datastore::CheckText(options.file, bytes);
    return std::make_shared<const DataTree>(DataTree::FromText(model, text));
  }();

  // 2. Correct the data and the text.
  Correction correction(running, text, tree, options);
  if (options.only.empty()) {
    correction.FixAll();
  } else {
    correction.FixOnly(options.only);
  }
  const auto& replacements = correction.replacements();

  // 3. Write it.
  if (options.write && !replacements.empty()) {
    Write(options.file, bytes, source::Replace(bytes, replacements),
          options.limits.size);
  } else {
    const std::string diff =
        fix::UnifiedDiff(options.file, bytes, replacements);
    static_cast<void>(std::fwrite(diff.data(), 1, diff.size(), stdout));
  }
  fmt::print(stderr, "{}", correction.taken());
  PrintLeft(&correction, !options.only.empty() || options.suggested);
  return correction.findings().empty() ? kAccepted : kRefused;
}

ExitStatus RunFix(const FixOptions& options) {
  try {
    return Correct(options);
  } catch (const PluginFailed& failure) {
    fmt::print(stderr, "ipav: {}\n", base::Printable(failure.what()));
  } catch (const base::TimeOver&) {
    fmt::print(stderr, "ipav: no correction within {}\n",
               base::InWords(options.limits.time));
  }
  return kPluginFailed;
}

}  // namespace

Command AddFix(CLI::App* app, const Locations& locations) {
  const auto options = std::make_shared<FixOptions>();
  options->locations = locations;
  CLI::App* command =
      app->add_subcommand("fix", "Correct what a commit would be refused for");
  command->footer(kFixNotes);
  AddInput(command, "--running",
           "Running configuration, XML or JSON (default: empty)",
           &options->running);
  AddInput(command, "file", "Configuration to correct, XML or JSON",
           &options->file)
      ->required();
  command->add_flag("--write", options->write,
                    "Correct the file instead of printing the corrections");
  CLI::Option* suggested = command->add_flag(
      "--suggested", options->suggested,
      "Also apply the first suggestion for a refusal without a safe one");
  command
      ->add_option("--only", options->only,
                   "Apply only the fix with this id, as in F1.2; may be "
                   "repeated")
      ->allow_extra_args(false)
      ->excludes(suggested);
  AddLimits(command, "read a configuration, and for all corrections",
            &options->limits);
  AddPluginAndYang(command, &options->locations);
  return {command, [options] { return RunFix(*options); }};
}

}  // namespace ipav::cli
