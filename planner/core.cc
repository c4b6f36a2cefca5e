#include "planner/core.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "planner/named_items.h"
#include "planner/search.h"

namespace ipav::planner {

namespace {

// A core of hundreds of changes, such as too many routes, is not worth the time
// that it takes to show that it needs every one of them.
constexpr std::size_t kMostVerdicts = 100;

class CoreSearch {
 public:
  explicit CoreSearch(Verdicts* verdicts) : verdicts_(verdicts) {}

  bool CanBeMade(const State& changes) {
    const SearchResult result = Search(verdicts_, changes).Run(Style::kFewest);
    if (result.is_limited && !result.reached) throw LimitReached();
    return result.reached;
  }

  // A core with the change, which cannot be made together with `made`.
  Core CoreWith(std::size_t change, const State& made) {
    begin_ = verdicts_->count();
    // 1. The change alone; or with those that its refusal names; or with all.
    State core = {change};
    if (CanBeMade(core)) {
      State after = made;
      after.insert(change);
      const State named =
          ItemsNamed(verdicts_->Of(made, after), verdicts_->composer()->items(),
                     made, false);
      core.insert(named.begin(), named.end());
      if (CanBeMade(core)) core = std::move(after);
    }
    // 2. Less and less of them.
    for (std::size_t size = core.size() / 2; size > 1; size /= 2) {
      core = WithoutChunks(core, size, change);
    }
    for (std::size_t before = core.size() + 1; core.size() < before;) {
      before = core.size();
      core = WithoutChunks(core, 1, change);
    }
    // Without the change, the others may need a change that is left out here.
    State others = core;
    others.erase(change);
    const bool is_smallest = !is_late() && CanBeMade(others);
    return {std::move(core), is_smallest};
  }

 private:
  // Leaves out each run of so many changes without which the others still
  // cannot be made, but not the change itself.
  State WithoutChunks(State core, std::size_t size, std::size_t change) {
    const std::vector<std::size_t> all(core.begin(), core.end());
    for (std::size_t begin = 0; begin < all.size(); begin += size) {
      const std::size_t end = std::min(all.size(), begin + size);
      State rest = core;
      for (std::size_t i = begin; i < end; ++i) rest.erase(all[i]);
      rest.insert(change);
      if (is_late()) break;
      if (rest.size() < core.size() && !CanBeMade(rest)) core = std::move(rest);
    }
    return core;
  }

  bool is_late() const { return verdicts_->count() - begin_ > kMostVerdicts; }

  Verdicts* verdicts_;
  std::size_t begin_ = 0;  // verdicts before this core
};

}  // namespace

Obstacles FindObstacles(Verdicts* verdicts, const State& goal,
                        const State& reached) {
  CoreSearch search(verdicts);
  Obstacles obstacles;
  obstacles.made = reached;
  State explained;
  for (const std::size_t change : goal) {
    if (obstacles.made.count(change) > 0 || explained.count(change) > 0) {
      continue;
    }
    if (obstacles.cores.size() == kMostCores) {
      ++obstacles.unexamined;
      continue;
    }
    State more = obstacles.made;
    more.insert(change);
    if (search.CanBeMade(more)) {
      obstacles.made = std::move(more);
      continue;
    }
    obstacles.cores.push_back(search.CoreWith(change, obstacles.made));
    const State& core = obstacles.cores.back().changes;
    explained.insert(core.begin(), core.end());
  }
  return obstacles;
}

}  // namespace ipav::planner
