#include "messages/finder.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "host/confd/path.h"
#include "host/datastore/diff.h"
#include "host/datastore/libyang_error.h"
#include "messages/culprits.h"
#include "messages/data_view.h"
#include "messages/match.h"

namespace ipav::messages {

namespace {

using datastore::Novelty;

bool IsSame(const FoundCulprits& a, const FoundCulprits& b) {
  if (a.nodes.size() != b.nodes.size()) return false;
  for (std::size_t i = 0; i < a.nodes.size(); ++i) {
    if (a.nodes[i].node != b.nodes[i].node) return false;
  }
  return true;
}

void Describe(const Message& message, Finding* finding) {
  finding->rule = message.rule;
  finding->title = message.title;
  finding->advice = message.advice;
  finding->anchor = message.anchor;
}

}  // namespace

std::optional<Place> PlaceOf(const Configuration& configuration,
                             const lyd_node* node) {
  if (configuration.source == nullptr || node == nullptr) return std::nullopt;
  std::optional<source::Mark> mark = configuration.source->MarkOf(node);
  if (!mark) return std::nullopt;
  return Place{
      configuration.file,           mark->line,   mark->column, mark->length,
      std::move(mark->source_line), mark->skipped};
}

// The two configurations side by side.
class Finder::Search {
 public:
  Search(const Configuration& running, const Configuration& candidate,
         Judged judged)
      : running_(running),
        candidate_(candidate),
        from_nothing_(judged == Judged::kFromNothing),
        running_view_(*running.tree),
        candidate_view_(*candidate.tree),
        diff_(*running.tree, *candidate.tree) {}

  void Complete(const commit::Answer& answer, Finding* finding) {
    const std::vector<Reading> readings = ReadText(finding->text);
    if (readings.empty()) {
      finding->note =
          "no text of docs/messages.md: the nodes concerned are not known";
      return;
    }
    Describe(*readings.front().message, finding);

    // The configurations decide which reading is meant.
    std::optional<FoundCulprits> confirmed;
    const Reading* meant = nullptr;
    for (const Reading& reading : readings) {
      FoundCulprits culprits =
          FindCulprits({running_view_, candidate_view_, diff_, answer.path,
                        reading, from_nothing_});
      if (!culprits.confirms) {
        if (finding->note.empty()) finding->note = culprits.note;
      } else if (!confirmed) {
        Describe(*reading.message, finding);
        confirmed = std::move(culprits);
        meant = &reading;
      } else if (!IsSame(*confirmed, culprits)) {
        finding->note =
            "the text can be read in several ways, and the configuration has "
            "nodes for more than one";
        return;
      }
    }
    if (!confirmed) return;
    Take(*confirmed, *meant->message, finding);
    finding->is_standing = IsUntouched(*finding, confirmed->is_total) &&
                           IsInRunning(*finding, *meant);
  }

 private:
  void Take(const FoundCulprits& culprits, const Message& message,
            Finding* finding) const {
    finding->note = culprits.note;
    if (culprits.is_in_global) {
      finding->advice += " " + message.advice_in_global;
    }
    for (const CulpritNode& node : culprits.nodes) {
      const Configuration& side = node.is_removed ? running_ : candidate_;
      finding->culprits.push_back({node.role, confd::PrintPath(node.node),
                                   TextOf(node.node), NoveltyOf(node),
                                   PlaceOf(side, node.node)});
    }
  }

  // Whether the commit did not cause the finding, as far as its nodes show.
  bool IsUntouched(const Finding& finding, bool is_total) const {
    if (from_nothing_ && is_total) return true;
    const auto& culprits = finding.culprits;
    return std::all_of(
        culprits.begin(), culprits.end(), [&](const Culprit& culprit) {
          return culprit.novelty == Novelty::kUnchanged ||
                 (from_nothing_ && culprit.novelty == Novelty::kChanged);
        });
  }

  // Whether the running configuration confirms the text: other changes can
  // cause the finding too, such as one of a table of VRF names.
  bool IsInRunning(const Finding& finding, const Reading& reading) const {
    // Too many of something, of which none is new.
    if (finding.culprits.empty()) return true;
    return FindCulprits({running_view_, running_view_, diff_, finding.path,
                         reading, from_nothing_})
        .confirms;
  }

  Novelty NoveltyOf(const CulpritNode& node) const {
    if (node.is_removed) return Novelty::kRemoved;
    const datastore::Change* change = diff_.Of(node.node);
    return change == nullptr ? Novelty::kUnchanged : change->How();
  }

  const Configuration& running_;
  const Configuration& candidate_;
  const bool from_nothing_;
  DataView running_view_;
  DataView candidate_view_;
  datastore::Diff diff_;
};

std::vector<std::string> FaultOf(const Finding& finding) {
  std::vector<std::string> fault = {finding.text};
  for (const Culprit& culprit : finding.culprits) fault.push_back(culprit.path);
  if (finding.culprits.empty()) fault.push_back(finding.path);
  std::sort(fault.begin(), fault.end());
  return fault;
}

std::vector<std::vector<std::string>> CulpritPaths(
    const std::vector<Finding>& findings) {
  std::vector<std::vector<std::string>> paths(findings.size());
  for (std::size_t i = 0; i < findings.size(); ++i) {
    for (const Culprit& culprit : findings[i].culprits) {
      paths[i].push_back(culprit.path);
    }
  }
  return paths;
}

bool IsRefusal(const commit::Answer& answer) {
  return !answer.exception && !commit::Accepts(answer);
}

Finder::Finder(Configuration running, Configuration candidate, Judged judged)
    : running_(std::move(running)),
      candidate_(std::move(candidate)),
      judged_(judged) {}

Finder::~Finder() = default;

Finding Finder::Explain(const commit::Answer& answer) {
  Finding finding;
  finding.text = answer.text.value_or("");
  finding.point = answer.opaque;
  finding.path = answer.path;
  if (!answer.text) {
    finding.note = "without a text, the nodes concerned are not known";
    return finding;
  }
  if (search_ == nullptr) {
    search_ = std::make_unique<Search>(running_, candidate_, judged_);
  }
  search_->Complete(answer, &finding);
  // libyang records an error for each value of a wrong type.
  datastore::ClearErrors(candidate_.tree->model().context());
  return finding;
}

std::vector<Finding> Finder::ExplainAll(const commit::Outcome& outcome) {
  std::vector<Finding> findings;
  for (const commit::Answer& answer : outcome.answers) {
    if (IsRefusal(answer)) findings.push_back(Explain(answer));
  }
  return findings;
}

}  // namespace ipav::messages
