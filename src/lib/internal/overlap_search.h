// Which interfaces overlap, as a walk over all pairs would find them first,
// without that walk.
//
// A sweep over all prefixes (prefix_sweep.h) tells the one interface of which a
// partner has to be looked for, or that there is none: n log n. Where one side
// has few prefixes each is compared with all of the other side, which is
// quicker than any index and as good as linear.
#ifndef IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_
#define IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_

#include <nettypes/ipv4.h>
#include <nettypes/ipv6.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "config.h"

namespace ip_application::config_valid::internal {

// The first address of the first interface that overlaps with one of the
// second, and the first one that it overlaps with; null where none does or the
// VRFs share no address space.
template <typename Mask>
std::pair<const Mask*, const Mask*> FirstOverlap(const Interface& first,
                                                 const Interface& second);

// Overlaps of the interfaces of one kind with each other and with those of the
// other kinds; the readers are borrowed.
template <typename Mask>
class OverlapSearch {
 public:
  OverlapSearch(const InterfaceConfig& changed,
                const std::vector<InterfaceConfig*>& all);

  // The first interface of the kind, behind that one, that overlaps with it, or
  // null. To be asked in the order of the interfaces and no more behind an
  // overlap.
  const Interface* FirstBehind(std::size_t position);

  // The first interface of another kind, in the order of the readers, that
  // overlaps with one of the kind; and the first one of these that it overlaps
  // with. Null where there is none.
  std::pair<const Interface*, const Interface*> FirstOfOtherKinds();

 private:
  struct Member {
    const Interface* interface;
    std::uint32_t rank;
    std::uint32_t space;
    bool is_other;
  };

  std::pair<const Interface*, const Interface*> FirstOtherByPairs() const;
  bool HasFewPrefixes() const;
  void SweepOnce();
  std::vector<Member> MembersBySpace() const;

  const std::vector<Interface>& interfaces_;
  std::vector<const std::vector<Interface>*> others_;  // by reader

  // Known once they are needed; ranks are positions, those of the others by
  // reader and position.
  bool is_swept_ = false;
  std::uint32_t first_in_overlap_ = UINT32_MAX;
  std::uint32_t first_other_ = UINT32_MAX;
};

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_
