#include "planner/conflicts.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace ipav::planner {

namespace {

bool Contains(const Paths& all, const Paths& part) {
  return std::includes(all.begin(), all.end(), part.begin(), part.end());
}

bool IsResolved(const std::vector<Paths>& ways, const Paths& away) {
  return std::any_of(ways.begin(), ways.end(),
                     [&](const Paths& way) { return Contains(away, way); });
}

}  // namespace

bool Conflicts::Judged::Has(const std::string& a, const std::string& b) const {
  if (away.count(a) > 0 || away.count(b) > 0) return false;
  return of.empty() || of.count(a) > 0 || of.count(b) > 0;
}

void Conflicts::MarkJudged(const std::string& a, const std::string& b) {
  judged_pairs_[a].insert(b);
  judged_pairs_[b].insert(a);
}

void Conflicts::AddNode(const std::string& node) {
  if (!judged_pairs_.try_emplace(node).second) return;
  for (const Judged& judged : judged_) {
    for (const auto& [other, pairs] : judged_pairs_) {
      if (judged.Has(node, other)) MarkJudged(node, other);
    }
  }
}

Paths Conflicts::AddNodes(const Ways& ways) {
  Paths fresh;
  for (const Paths& way : ways) {
    for (const std::string& node : way) {
      if (judged_pairs_.count(node) == 0) fresh.insert(node);
      AddNode(node);
    }
  }
  return fresh;
}

void Conflicts::Add(const std::string& violation, const Ways& ways) {
  const Paths fresh = AddNodes(ways);
  // Two nodes of which each resolves the violation are its pair. Nodes that
  // were known before stay to be judged, unless they are the only ones.
  if (ways.size() == 2) {
    for (const std::string& a : ways[0]) {
      for (const std::string& b : ways[1]) MarkJudged(a, b);
    }
  } else if (ways.size() > 2) {
    for (auto a = fresh.begin(); a != fresh.end(); ++a) {
      for (auto b = std::next(a); b != fresh.end(); ++b) MarkJudged(*a, *b);
    }
  }
  order_.push_back(violation);
  ways_[violation] = ways;
}

void Conflicts::Conclude(Judged judged) {
  for (const auto& [a, pairs] : judged_pairs_) {
    for (const auto& [b, others] : judged_pairs_) {
      if (judged.Has(a, b)) MarkJudged(a, b);
    }
  }
  judged_.push_back(std::move(judged));
}

void Conflicts::OnAccepted(const Question& question) {
  has_accepted_ = true;
  Conclude({question.away, {}});
}

void Conflicts::OnViolation(const Question& question,
                            const std::string& violation, const Ways& ways) {
  if (!Knows(violation)) {
    if (ways.empty()) is_stuck_ = true;
    Add(violation, ways);
    // What needs this one node is reported before it, or never.
    if (ways.size() == 1) Conclude({question.away, ways.front()});
    return;
  }
  if (question.open.count(violation) > 0) {
    const Ways& known = ways_[violation];
    if (known.size() == 1) Conclude({question.away, known.front()});
  } else if (Grow(question, violation, ways)) {
    return;
  } else if (question.first.empty()) {
    is_stuck_ = true;
    return;
  }
  if (!question.first.empty()) MarkJudged(question.first, question.second);
}

// The violation needs more nodes than were known: adds them to the ways that
// were tried. False if there are none.
bool Conflicts::Grow(const Question& question, const std::string& violation,
                     const Ways& ways) {
  Ways& known = ways_[violation];
  bool has_grown = false;
  for (std::size_t i = 0; i < std::min(known.size(), ways.size()); ++i) {
    if (!Contains(question.away, known[i])) continue;
    for (const std::string& node : ways[i]) {
      AddNode(node);
      has_grown |= known[i].insert(node).second;
    }
  }
  return has_grown;
}

std::optional<Conflicts::Question> Conflicts::Next() const {
  if (is_stuck_) return std::nullopt;
  if (!has_accepted_) return Ask("", "");
  for (const auto& [a, judged] : judged_pairs_) {
    if (judged.size() == judged_pairs_.size()) continue;
    for (const auto& [b, others] : judged_pairs_) {
      if (judged.count(b) == 0) return Ask(a, b);
    }
  }
  return std::nullopt;
}

// Resolves every violation without taking away the two nodes, so that many
// pairs stay that are not judged yet.
Conflicts::Question Conflicts::Ask(const std::string& first,
                                   const std::string& second) const {
  Question question{{}, {}, first, second};
  Paths kept;
  if (!first.empty()) kept = {first, second};
  for (const std::string& violation : order_) {
    // 1. Resolve it, unless what is away already does.
    const Ways& ways = ways_.at(violation);
    if (!IsResolved(ways, question.away)) {
      const Paths* way = CheapestWay(ways, question, kept);
      if (way == nullptr) {
        question.open.insert(violation);
        continue;
      }
      question.away.insert(way->begin(), way->end());
    }
    // 2. Its nodes that are not away count as kept.
    for (const Paths& way : ways) {
      std::set_difference(way.begin(), way.end(), question.away.begin(),
                          question.away.end(), std::inserter(kept, kept.end()));
    }
  }
  PutBack(&question);
  question.away.insert(away_.begin(), away_.end());
  return question;
}

const Paths* Conflicts::CheapestWay(const Ways& ways, const Question& question,
                                    const Paths& kept) const {
  const Paths* cheapest = nullptr;
  std::size_t least = 0;
  for (const Paths& way : ways) {
    if (way.count(question.first) > 0 || way.count(question.second) > 0) {
      continue;
    }
    const std::size_t cost = CountUnjudged(way, kept);
    if (cheapest == nullptr || cost < least) {
      cheapest = &way;
      least = cost;
    }
  }
  return cheapest;
}

std::size_t Conflicts::CountUnjudged(const Paths& some,
                                     const Paths& others) const {
  std::size_t count = 0;
  for (const std::string& a : some) {
    for (const std::string& b : others) {
      if (!IsJudged(a, b)) ++count;
    }
  }
  return count;
}

// Puts nodes back that were taken away without need.
void Conflicts::PutBack(Question* question) const {
  for (const std::string& node : Paths(question->away)) {
    question->away.erase(node);
    const bool is_needed =
        std::any_of(order_.begin(), order_.end(), [&](const auto& violation) {
          return question->open.count(violation) == 0 &&
                 !IsResolved(ways_.at(violation), question->away);
        });
    if (is_needed) question->away.insert(node);
  }
}

}  // namespace ipav::planner
