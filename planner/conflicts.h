// Decides which nodes of a configuration to take away next, so that one call of
// a validation point reports all of its violations: until the call has judged
// every pair of the nodes that they name. Knows nodes by their data paths only.
#ifndef IPAV_PLANNER_CONFLICTS_H_
#define IPAV_PLANNER_CONFLICTS_H_

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ipav::planner {

using Paths = std::set<std::string>;

class Conflicts {
 public:
  // The nodes of `away` are taken away for each question.
  explicit Conflicts(Paths away = {}) : away_(std::move(away)) {}

  // Which violation has the candidate without the nodes that are away? Those
  // that are open stay, because they cannot be resolved without taking away one
  // of the two nodes that the question is about.
  struct Question {
    Paths away;
    std::set<std::string> open;
    std::string first;  // empty: about all nodes that stay
    std::string second;
  };

  // The next question, if there is one.
  std::optional<Question> Next() const;

  // The answers to a question: no refusal, or a violation. `ways` are the sets
  // of nodes of which one has to be taken away to resolve it. A question about
  // a violation of which nothing is known ends the questions.
  void OnAccepted(const Question& question);
  void OnViolation(const Question& question, const std::string& violation,
                   const std::vector<Paths>& ways);

  // Whether the questions ended because a violation cannot be resolved.
  bool is_stuck() const { return is_stuck_; }

  bool Knows(const std::string& violation) const {
    return ways_.count(violation) > 0;
  }

 private:
  using Ways = std::vector<Paths>;

  // A judged question. If `of` is not empty, only pairs with one of these nodes
  // are judged.
  struct Judged {
    Paths away;
    Paths of;
    bool Has(const std::string& a, const std::string& b) const;
  };

  bool IsJudged(const std::string& a, const std::string& b) const {
    return judged_pairs_.at(a).count(b) > 0;
  }
  void MarkJudged(const std::string& a, const std::string& b);
  void Add(const std::string& violation, const Ways& ways);
  void AddNode(const std::string& node);
  // Returns the nodes that were not known before.
  Paths AddNodes(const Ways& ways);
  bool Grow(const Question& question, const std::string& violation,
            const Ways& ways);
  void Conclude(Judged judged);
  Question Ask(const std::string& first, const std::string& second) const;
  const Paths* CheapestWay(const Ways& ways, const Question& question,
                           const Paths& kept) const;
  // The number of pairs of a node of each set that are not judged yet.
  std::size_t CountUnjudged(const Paths& some, const Paths& others) const;
  void PutBack(Question* question) const;

  const Paths away_;
  std::vector<std::string> order_;  // of the violations
  std::map<std::string, Ways> ways_;
  std::map<std::string, std::set<std::string>> judged_pairs_;  // by node
  std::vector<Judged> judged_;
  bool has_accepted_ = false;
  bool is_stuck_ = false;
};

}  // namespace ipav::planner

#endif  // IPAV_PLANNER_CONFLICTS_H_
