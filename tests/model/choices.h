// The random numbers from which a configuration or a scenario is made. 0 is the
// simplest choice, and a smaller number never makes a larger case, so that the
// property test can simplify a failing case by making numbers smaller.
#ifndef IPAV_TESTS_MODEL_CHOICES_H_
#define IPAV_TESTS_MODEL_CHOICES_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <utility>
#include <vector>

namespace ipav::model {

class Choices {
 public:
  using Numbers = std::vector<std::uint32_t>;
  static constexpr std::uint32_t kLimit = 1U << 16U;  // of a number

  // Zeros follow the last number.
  explicit Choices(Numbers numbers) : numbers_(std::move(numbers)) {}

  // The next `count` numbers. A part always takes as many, so that later parts
  // do not depend on how many of them are used.
  Choices Part(std::size_t count) {
    Numbers part;
    while (part.size() < count) part.push_back(Next());
    return Choices(part);
  }

  std::size_t Below(std::size_t count) { return Next() * count / kLimit; }

  // True in `times` of `all` cases.
  bool Chance(std::size_t times, std::size_t all) {
    return Below(all) >= all - times;
  }

  // One of the values, with the probability that its weight gives it.
  template <typename T>
  T Pick(std::initializer_list<std::pair<std::size_t, T>> weighted) {
    std::size_t all = 0;
    for (const auto& [weight, value] : weighted) all += weight;
    std::size_t left = Below(all);
    const auto* chosen = weighted.begin();
    for (; left >= chosen->first; ++chosen) left -= chosen->first;
    return chosen->second;
  }

  template <typename T>
  T OneOf(const std::vector<T>& values) {
    return values[Below(values.size())];
  }

  template <typename T>
  std::optional<T> Often(T value) {
    return Chance(4, 5) ? std::optional<T>(std::move(value)) : std::nullopt;
  }

  // 0 to `most` results of make(). Calls it `most` times in any case, so that
  // later choices do not depend on how many results are kept.
  template <typename Make>
  auto UpTo(std::size_t most, Make make) {
    std::vector<decltype(make())> kept;
    const std::uint32_t density = Next();
    for (std::size_t i = 0; i < most; ++i) {
      auto made = make();
      if (Next() + density >= kLimit) kept.push_back(std::move(made));
    }
    return kept;
  }

 private:
  std::uint32_t Next() { return at_ < numbers_.size() ? numbers_[at_++] : 0; }

  Numbers numbers_;
  std::size_t at_ = 0;
};

}  // namespace ipav::model

#endif  // IPAV_TESTS_MODEL_CHOICES_H_
