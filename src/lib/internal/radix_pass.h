// Sorts that keep the order of what is equal. A pass of a radix sort is linear,
// and without comparisons, whose cost grows with the number and the disorder of
// what is sorted; but it costs more than a few insertions do.
#ifndef IPAV_SRC_LIB_INTERNAL_RADIX_PASS_H_
#define IPAV_SRC_LIB_INTERNAL_RADIX_PASS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace ip_application::config_valid::internal {

inline constexpr std::uint32_t kDigitBits = 8;
inline constexpr std::size_t kDigits = 1U << kDigitBits;

// So many items are sorted by insertion in less time than by passes.
inline constexpr std::size_t kFewToSort = 64;

template <typename T, typename IsBefore>
void SortByInsertion(IsBefore is_before, std::vector<T>* items) {
  for (std::size_t i = 1; i < items->size(); ++i) {
    const T item = (*items)[i];
    std::size_t at = i;
    for (; at > 0 && is_before(item, (*items)[at - 1]); --at) {
      (*items)[at] = (*items)[at - 1];
    }
    (*items)[at] = item;
  }
}

// Sorts by the digit that `digit_of` gives, what has the same digit in the
// order that it has. `spare` is memory for the pass, its content is lost.
template <typename T, typename DigitOf>
void SortByDigit(DigitOf digit_of, std::vector<T>* items,
                 std::vector<T>* spare) {
  std::array<std::uint32_t, kDigits> ends{};
  for (const T& item : *items) ++ends[digit_of(item)];
  std::uint32_t begin = 0;
  for (std::uint32_t& end : ends) begin += std::exchange(end, begin);
  spare->resize(items->size());
  for (const T& item : *items) (*spare)[ends[digit_of(item)]++] = item;
  items->swap(*spare);
}

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_RADIX_PASS_H_
