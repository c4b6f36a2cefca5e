// Which interfaces overlap, as a walk over all pairs would find them first,
// without that walk.
//
// One sweep over the prefixes of each address space (prefix_sweep.h) tells the
// interface of which a partner has to be looked for, or that there is none: a
// constant number of passes over all prefixes. Where one side has few prefixes
// each is compared with all of the other side, which is quicker than any index
// and linear as well.
#ifndef IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_
#define IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_

#include <nettypes/ipv4.h>
#include <nettypes/ipv6.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "include/config.h"

namespace ip_application::config_valid::internal {

// The first address of the first interface that overlaps with one of the
// second, and the first one that it overlaps with; null where none does or the
// VRFs share no address space.
template <typename Mask>
std::pair<const Mask*, const Mask*> FirstOverlap(const Interface& first,
                                                 const Interface& second);

// An interface that overlaps with the one asked for, and FirstOverlap() of that
// one with it; null where there is none.
template <typename Mask>
struct OverlapWith {
  const Interface* interface = nullptr;
  std::pair<const Mask*, const Mask*> masks;
};

// The interfaces of one kind and those of the other kinds; borrowed.
class OverlapSides {
 protected:
  struct Member {
    const Interface* interface;
    std::uint32_t rank;  // position; of others by reader and position
    std::uint32_t space;
    bool is_other;
  };

  OverlapSides(const InterfaceConfig& changed,
               const std::vector<InterfaceConfig*>& all)
      : interfaces_(changed.interfaces()), type_(changed.type()), all_(all) {}
  ~OverlapSides() = default;

  // Fills others_: late, as a violation found before needs none of that.
  void CollectOthers();

  // All interfaces, those of one address space together.
  std::vector<Member> MembersBySpace() const;

  const std::vector<Interface>& interfaces_;
  std::vector<const std::vector<Interface>*> others_;  // by reader

 private:
  InterfaceType type_;
  const std::vector<InterfaceConfig*>& all_;
};

// Overlaps of the interfaces of one kind with each other and with those of the
// other kinds.
template <typename Mask>
class OverlapSearch : private OverlapSides {
 public:
  OverlapSearch(const InterfaceConfig& changed,
                const std::vector<InterfaceConfig*>& all)
      : OverlapSides(changed, all) {}

  // The first interface of the kind, behind that one, that overlaps with it. To
  // be asked in the order of the interfaces and no more behind an overlap.
  OverlapWith<Mask> FirstBehind(std::size_t position);

  // The first interface of another kind, in the order of the readers, that
  // overlaps with one of the kind; and the first one of these that it overlaps
  // with. Null where there is none.
  std::pair<const Interface*, const Interface*> FirstOfOtherKinds();

 private:
  std::pair<const Interface*, const Interface*> FirstOtherByPairs() const;
  bool HasFewPrefixes() const;
  void SweepOnce();

  // The lowest ranks, known once they are needed.
  bool is_swept_ = false;
  std::uint32_t first_in_overlap_ = UINT32_MAX;
  std::uint32_t first_other_ = UINT32_MAX;
};

}  // namespace ip_application::config_valid::internal

#endif  // IPAV_SRC_LIB_INTERNAL_OVERLAP_SEARCH_H_
