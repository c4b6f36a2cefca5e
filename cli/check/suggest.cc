#include "cli/check/suggest.h"

#include <map>
#include <utility>

#include "cli/fix/corrected_text.h"
#include "fixer/fixes.h"

namespace ipav::cli::check {

namespace {

using datastore::DataTree;
using messages::Finding;

// The fixes as edits of the text, numbered as ipav fix does. One that cannot be
// written is left out.
std::vector<messages::Fix> InText(const std::vector<fixer::Fix>& fixes,
                                  const DataTree& candidate,
                                  const datastore::InputText& text) {
  std::vector<messages::Fix> edited;
  std::size_t number = 0;
  for (const fixer::Fix& fix : fixes) {
    ++number;
    try {
      const auto replacements = fix::Correct(text, candidate, *fix.tree);
      edited.push_back({std::to_string(number), fix.is_safe, fix.text,
                        fix::EditsOf(text.bytes, replacements)});
    } catch (const fix::NotCorrected&) {
      continue;
    }
  }
  return edited;
}

using KnownFixes =
    std::map<std::vector<std::string>, std::vector<messages::Fix>>;

// The id of a known fix with the same edits, of another fault; else the new
// one.
std::string IdOf(const messages::Fix& fix, const std::string& id,
                 const KnownFixes& known) {
  for (const auto& [fault, others] : known) {
    for (const messages::Fix& other : others) {
      if (&other != &fix && other.edits == fix.edits) return other.id;
    }
  }
  return id;
}

}  // namespace

void AddFixes(const DataTree& running, const DataTree& candidate,
              const datastore::InputText& text, const std::string& plugin,
              base::TimeLimit time, std::vector<Finding>* findings) {
  const base::Countdown countdown(time);
  fixer::Fixer fixer(running, candidate, plugin, countdown);
  // Several points may report one fault. Its fixes have one set of ids.
  KnownFixes known;
  std::size_t number = 0;
  for (Finding& finding : *findings) {
    // Its id would not be the one of ipav fix.
    if (finding.is_behind) continue;
    ++number;
    const auto [slot, is_new] = known.try_emplace(messages::FaultOf(finding));
    std::vector<messages::Fix>& fixes = slot->second;
    try {
      if (is_new) {
        fixes = InText(fixer.FixesOf(finding), candidate, text);
        for (messages::Fix& fix : fixes) {
          fix.id =
              IdOf(fix, "F" + std::to_string(number) + "." + fix.id, known);
        }
      }
    } catch (const base::TimeOver&) {
      known.erase(slot);
      finding.note += (finding.note.empty() ? "" : "; ") +
                      std::string("no time was left to find fixes (--timeout)");
      continue;
    }
    finding.fixes = fixes;
  }
}

}  // namespace ipav::cli::check
