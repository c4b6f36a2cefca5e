// A minimal platform for the plug-in: a tree of nodes with one hash look-up for
// each step of a path and for the keys of an entry. It records nothing, so that
// a measurement shows the plug-in's own cost.
//
// One per process. Keys of an entry are compared as texts.
#ifndef IPAV_BENCH_PLATFORM_H_
#define IPAV_BENCH_PLATFORM_H_

#include <confd_lib.h>
#include <confd_maapi.h>

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace ipav::bench {

class Platform {
 public:
  using Row = std::vector<confd_value_t>;  // keys of an entry

  // A value of type text points to a text of Keep().
  void SetLeaf(const std::string& path, const confd_value_t& value);
  void AddRow(const std::string& list, const Row& keys);
  const char* Keep(std::string text);
  void Clear();

  // Names have no prefix. Entries are children of their list.
  struct Node {
    std::unordered_map<std::string_view, std::unique_ptr<Node>> children;
    std::optional<confd_value_t> value;  // of a leaf
    std::vector<Row> rows;               // of a list
  };
  const Node* Find(const char* path) const;

  // Whether each read first waits for an answer from another thread over a
  // local socket, as it would for a daemon.
  void set_round_trips(bool round_trips);

  void set_context(void* context) { context_ = context; }
  void* context() const { return context_; }

 private:
  Node& Make(const std::string& path);

  Node root_;
  std::deque<std::string> texts_;
  void* context_ = nullptr;
};

Platform& ThePlatform();

confd_value_t TextValue(const std::string& text);  // kept by the platform
confd_value_t Int32Value(std::int32_t number);
confd_value_t Uint32Value(std::uint32_t number);
confd_value_t EnumValue(std::int32_t number);
confd_value_t OctetsValue(const std::string& octets);

// ---- The same calls again --------------------------------------------------

// The path of a call as the caller passed it: the format and, as far as it has
// conversions, a text, a number and texts, in this order. Texts are offsets
// into the trace's texts.
struct TracedPath {
  std::size_t format = 0;
  std::array<std::size_t, 4> texts{};
  unsigned number = 0;  // after the first text
};

// A recorded call of the platform, which can be repeated without the plug-in.
struct TracedCall {
  enum class Kind : std::uint8_t {
    kExists,
    kGetElem,
    kFreeValue,
    kIpv4Mask,
    kIpv6Mask,
    kUint8,
    kUint32,
    kText,
    kInitCursor,
    kNext,
    kDestroyCursor,
    kPrint,
    kOther,  // calls that read nothing
  };
  Kind kind;
  TracedPath path;
  confd_value_t value = {};  // of kPrint
};

class Trace {
 public:
  void Add(TracedCall::Kind kind);
  void AddWithPath(TracedCall::Kind kind, const char* format, va_list args);
  void AddPrint(const confd_value_t& value);

  // Repeats the calls in their order.
  void Replay() const;

  std::size_t size() const { return calls_.size(); }

 private:
  std::size_t Keep(const char* text);

  template <typename Call, typename... Out>
  void MakeAgain(const TracedPath& path, Call call, Out... out) const;

  std::vector<TracedCall> calls_;
  std::vector<char> texts_;  // NUL-terminated, one after the other
};

// Records all calls from now on in `trace`, which is borrowed; null for none.
void TraceCallsTo(Trace* trace);

}  // namespace ipav::bench

#endif  // IPAV_BENCH_PLATFORM_H_
