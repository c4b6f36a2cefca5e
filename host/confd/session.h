// The state of the daemon's C interface: one transaction, which is open while a
// Session lives. A process has at most one, for one commit.
#ifndef IPAV_HOST_CONFD_SESSION_H_
#define IPAV_HOST_CONFD_SESSION_H_

#include <confd_lib.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "host/confd/path.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/diff.h"

namespace ipav::confd {

class Session {
 public:
  // Borrows its arguments. `running` returns the running tree, and is called
  // only when that tree is needed. `diff` is the difference of the two trees.
  Session(std::function<const datastore::DataTree&()> running,
          const datastore::DataTree& candidate, const datastore::Diff& diff);
  Session(const datastore::DataTree& running,
          const datastore::DataTree& candidate, const datastore::Diff& diff);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // The open session. Throws ConfdError if there is none, or if the socket or
  // the handle was never opened.
  static Session& OfTransaction(int socket, int thandle);
  static Session& OfCdbSocket(int socket);
  static Session* Current();  // null when none is open

  const datastore::DataTree& running() const { return running_(); }
  const datastore::DataTree& candidate() const { return candidate_; }
  const datastore::Diff& diff() const { return diff_; }
  PathMemo& candidate_paths() { return candidate_paths_; }
  std::string& path() { return path_; }  // of the current call
  const datastore::Model& model() const { return candidate_.model(); }

  // Passed to the plug-in with each call; the caller sets the opaque pointers.
  confd_trans_ctx& context() { return context_; }
  static int maapi_socket();

  // CDB sessions on the running configuration. Open returns the socket.
  int OpenCdb();
  void CloseCdb(int socket);
  std::size_t open_cdb_sessions() const { return cdb_sockets_.size(); }

  // Number of MAAPI cursors that were made and not destroyed.
  void CountOpenCursor() { ++open_cursors_; }
  void CountClosedCursor() { --open_cursors_; }
  std::size_t open_cursors() const { return open_cursors_; }

  // Text of confd_trans_seterr(), until TakeErrorText() is called.
  void set_error_text(std::string text) { error_text_ = std::move(text); }
  std::optional<std::string> TakeErrorText();

  // The number of calls of each function of the daemon's interface, by name, a
  // literal; only those that were called.
  void CountCall(const char* name) {
    ++calls_[name];
    ++call_count_;
  }
  std::map<std::string_view, std::uint64_t> calls() const {
    std::map<std::string_view, std::uint64_t> calls;
    for (const auto& [name, count] : calls_) calls[name] += count;
    return calls;
  }
  std::uint64_t call_count() const { return call_count_; }  // in total

 private:
  const std::function<const datastore::DataTree&()> running_;
  const datastore::DataTree& candidate_;
  const datastore::Diff& diff_;
  PathMemo candidate_paths_;
  std::string path_;
  confd_trans_ctx context_;
  std::set<int> cdb_sockets_;
  int next_cdb_socket_;
  std::size_t open_cursors_ = 0;
  std::optional<std::string> error_text_;
  std::map<const char*, std::uint64_t> calls_;  // of each literal
  std::uint64_t call_count_ = 0;
};

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_SESSION_H_
