#include "src/lib/internal/prefix_sweep.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "src/lib/internal/radix_pass.h"

namespace ip_application::config_valid::internal {

namespace {

std::array<std::uint32_t, 1> WordsOf(const nettypes::IPv4AddrMask& mask) {
  return {mask.addr().to_uint32()};
}

std::uint64_t BigEndian(const std::uint8_t* octets) {
  std::uint64_t number = 0;
  for (int i = 0; i < 8; ++i) number = number << 8U | octets[i];
  return number;
}

std::array<std::uint64_t, 2> WordsOf(const nettypes::IPv6AddrMask& mask) {
  const std::uint8_t* octets = mask.addr().addr().s6_addr;
  return {BigEndian(octets), BigEndian(octets + 8)};
}

template <typename Word>
constexpr std::uint32_t kBitsOf = std::numeric_limits<Word>::digits;

// Those bits of the word at an index that are among the first `length` bits of
// all words.
template <typename Word>
Word LeadingBits(std::size_t index, std::uint32_t length) {
  const auto before = static_cast<std::uint32_t>(index) * kBitsOf<Word>;
  if (length <= before) return 0;
  if (length >= before + kBitsOf<Word>) return std::numeric_limits<Word>::max();
  return std::numeric_limits<Word>::max() << (before + kBitsOf<Word> - length);
}

// Whether the first prefix, which stands in front of the other, contains it.
template <typename Prefix>
bool Contains(const Prefix& first, const Prefix& other) {
  using Word = typename decltype(first.first)::value_type;
  for (std::size_t i = 0; i < first.first.size(); ++i) {
    const Word differing = first.first[i] ^ other.first[i];
    if ((differing & LeadingBits<Word>(i, first.length)) != 0) return false;
  }
  return true;
}

template <typename Prefix>
bool IsBefore(const Prefix& a, const Prefix& b) {
  for (std::size_t i = 0; i < a.first.size(); ++i) {
    if (a.first[i] != b.first[i]) return a.first[i] < b.first[i];
  }
  return a.length < b.length;
}

// The lowest rank, and the lowest one but for it; UINT32_MAX for none. Without
// a constructor, so that an array of them costs nothing.
struct LowestTwo {
  void Add(std::uint32_t rank) {
    if (rank < lowest) {
      second = std::exchange(lowest, rank);
    } else if (rank != lowest) {
      second = std::min(second, rank);
    }
  }

  // The lowest of those that are not `rank`.
  std::uint32_t BesidesOf(std::uint32_t rank) const {
    return rank == lowest ? second : lowest;
  }
  bool empty() const { return lowest == UINT32_MAX; }

  std::uint32_t lowest;
  std::uint32_t second;
};

}  // namespace

// The prefixes that contain the one at hand, the shortest first.
template <typename Mask>
class PrefixSweep<Mask>::Chain {
 public:
  // Takes up the next prefix in order, and what it overlaps with into `lowest`.
  void Add(const Prefix& prefix, Lowest* lowest) {
    while (depth_ > 0 && !Contains(*links_[depth_ - 1].prefix, prefix)) {
      --depth_;
    }
    const bool is_top = depth_ == 0;
    Link link = is_top ? kNoLink : links_[depth_ - 1];
    Compare(prefix, link, lowest);

    if (prefix.is_other) {
      link.other = std::min(link.other, prefix.rank);
    } else {
      link.ranks.Add(prefix.rank);
    }
    // One that is equal to the last link becomes part of it.
    if (is_top || link.prefix->length != prefix.length) ++depth_;
    link.prefix = &prefix;
    links_[depth_ - 1] = link;
  }

 private:
  struct Link {
    const Prefix* prefix;
    // Of it and all above it.
    LowestTwo ranks;
    std::uint32_t other;
  };
  static constexpr Link kNoLink = {nullptr, {kNone, kNone}, kNone};

  static void Compare(const Prefix& prefix, const Link& above, Lowest* lowest) {
    if (prefix.is_other) {
      if (above.ranks.empty()) return;
      lowest->other = std::min(lowest->other, prefix.rank);
      return;
    }
    lowest->other = std::min(lowest->other, above.other);
    const std::uint32_t rank = above.ranks.BesidesOf(prefix.rank);
    if (rank == kNone) return;
    lowest->rank = std::min({lowest->rank, rank, prefix.rank});
  }

  // Left as it is until a link is put there: there is a chain for each address
  // space, and most are short.
  Link links_[Mask::kMaxPrefixLen + 1];
  std::size_t depth_ = 0;
};

template <typename Mask>
PrefixSweep<Mask>::PrefixSweep() = default;

template <typename Mask>
PrefixSweep<Mask>::~PrefixSweep() = default;

template <typename Mask>
void PrefixSweep<Mask>::Reserve(std::size_t count) {
  prefixes_.reserve(count);
}

template <typename Mask>
void PrefixSweep<Mask>::Add(const Mask& mask, std::uint32_t rank,
                            bool is_other) {
  using Word = typename AddressWords<Mask>::Type::value_type;
  const std::int32_t length =
      std::clamp<std::int32_t>(mask.prefix_len(), 0, Mask::kMaxPrefixLen);
  Prefix prefix = {WordsOf(mask), rank, static_cast<std::uint8_t>(length),
                   is_other};
  for (std::size_t i = 0; i < prefix.first.size(); ++i) {
    prefix.first[i] &= LeadingBits<Word>(i, prefix.length);
  }
  prefixes_.push_back(prefix);
}

template <typename Mask>
void PrefixSweep<Mask>::Sort() {
  if (prefixes_.size() > kFewToSort) {
    SortByDigits();
  } else {
    SortByInsertion(IsBefore<Prefix>, &prefixes_);
  }
}

// From the least digit, the length, to the greatest; a digit that all prefixes
// have in common takes no pass.
template <typename Mask>
void PrefixSweep<Mask>::SortByDigits() {
  using Word = typename AddressWords<Mask>::Type::value_type;
  const Prefix one = prefixes_.front();
  std::uint32_t lengths = 0;
  typename AddressWords<Mask>::Type words{};
  for (const Prefix& prefix : prefixes_) {
    lengths |= std::uint32_t{prefix.length} ^ one.length;
    for (std::size_t i = 0; i < words.size(); ++i) {
      words[i] |= prefix.first[i] ^ one.first[i];
    }
  }

  // The length as a word behind the others.
  for (std::size_t i = words.size() + 1; i-- > 0;) {
    const bool is_length = i == words.size();
    const Word differing = is_length ? lengths : words[i];
    for (std::uint32_t bit = 0; bit < kBitsOf<Word>; bit += kDigitBits) {
      if ((differing >> bit) % kDigits == 0) continue;
      const auto digit = [=](const Prefix& prefix) {
        const Word word = is_length ? prefix.length : prefix.first[i];
        return static_cast<std::size_t>((word >> bit) % kDigits);
      };
      SortByDigit(digit, &prefixes_, &spare_);
    }
  }
}

template <typename Mask>
auto PrefixSweep<Mask>::TakeLowest() -> Lowest {
  Sort();
  Chain chain;
  Lowest lowest;
  for (const Prefix& prefix : prefixes_) chain.Add(prefix, &lowest);
  prefixes_.clear();
  return lowest;
}

template class PrefixSweep<nettypes::IPv4AddrMask>;
template class PrefixSweep<nettypes::IPv6AddrMask>;

}  // namespace ip_application::config_valid::internal
