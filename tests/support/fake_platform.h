// A recording fake of every call of the platform interface. Data are typed
// values by path text and lists with ordered, typed keys. Tests can make calls
// fail. Every call is recorded in order.
//
// There is one fake per process, since the calls are plain functions;
// PluginTest (plugin_test.h) resets it for each test. As on the real platform,
// one validation call runs at a time; only the log may be written by several
// threads.
#ifndef IPAV_TESTS_SUPPORT_FAKE_PLATFORM_H_
#define IPAV_TESTS_SUPPORT_FAKE_PLATFORM_H_

#include <confd_cdb.h>
#include <confd_lib.h>
#include <confd_maapi.h>
#include <hostd/hostd.h>

#include <cstdarg>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/builders.h"
#include "tests/support/path_text.h"
#include "tests/support/value.h"

namespace ipav::testing {

// A call of the platform interface. `args` is its main argument: the formatted
// path of a read, the text of an error, and so on. `format` is the format of
// the path as the caller passed it; empty for a call without a path.
struct Call {
  std::string name;
  std::string args;
  int sock = -1;
  int thandle = -1;
  std::string format = {};

  std::string text() const { return name + "(" + args + ")"; }
};

// A text set on a transaction. Format and text are equal if the caller passed
// the text itself as the format.
struct TransactionError {
  const confd_trans_ctx* tctx;
  std::string format;
  std::string text;
};

struct Fault {
  int code;
  std::string function;
  std::string file;
  int line;
  std::string message;
};

struct LogLine {
  void* handle;
  std::string format;
  std::string text;
};

struct Change {
  KeyPath node;
  confd_iter_op op;
  std::optional<Value> new_value;
};

class FakePlatform {
 public:
  static constexpr int kSocket = 17;
  static constexpr int kTransaction = 23;

  static FakePlatform& instance();

  // Restores the state after the start of the process, and forgets open
  // resources.
  void Reset();

  // What the host passes to the plug-in. The transaction context belongs to an
  // open transaction of this host.
  confd_trans_ctx* tctx() { return &tctx_; }
  hostd_t* hostd();
  HostdInterface* host_instance();
  void* log_handle() { return &log_; }
  void set_opaque(const std::string& text);  // tailf:opaque of the use site
  void set_maapi_socket(int sock) { maapi_socket_ = sock; }
  void set_lib_context(void* context) { lib_context_ = context; }
  void set_log_available(bool available) { log_available_ = available; }

  // The transaction's view. Paths are normalised; each keyed step must name an
  // entry that was added before.
  void AddEntry(const std::string& list, std::vector<Value> keys);
  void SetValue(const std::string& path, const Value& value);
  void SetContainer(const std::string& path);  // exists with nothing below

  // From now on, a path that is neither one of these schema paths nor the
  // beginning of one is a bad path.
  void DeclareModel(const std::vector<std::string>& schema_paths);

  void SetRunning(const std::string& path, const Value& value);
  void SetXpathAnswer(const std::string& context, const std::string& expression,
                      const std::string& answer);
  // Reported in the order added: a node, then everything below it.
  void AddChange(const KeyPath& node, confd_iter_op op,
                 std::optional<Value> new_value = std::nullopt);
  // Sets the result of IdVrfFromComponent(), by default the component itself.
  void SetVrfIndex(std::uint32_t component, std::uint32_t index);

  // Failures. The first recorded call after this one has the number 1. A call
  // that cannot report a failure does not fail. With kFindsNothing the call
  // succeeds without a node, entries, a text or changes.
  static constexpr int kFindsNothing = -1000;
  void FailCall(unsigned number, int result = CONFD_ERR);
  void FailReads(const std::string& path);   // exists, cannot be read
  void FailExists(const std::string& path);  // maapi_exists() fails

  // Records.
  const std::vector<Call>& calls() const { return calls_; }
  std::vector<std::string> CallTexts() const;
  void ForgetCalls();
  const std::vector<TransactionError>& errors() const { return errors_; }
  std::string error_text() const;  // of the last one, "" when there is none
  const std::vector<Fault>& faults() const { return faults_; }
  const std::vector<LogLine>& log_lines() const { return log_lines_; }

  // Resources that the plug-in has not released, and calls that it must not
  // make.
  std::size_t open_cursors() const { return cursors_.size(); }
  std::size_t unfreed_values() const { return values_.size(); }
  std::size_t open_cdb_sessions() const { return cdb_sessions_.size(); }
  const std::vector<std::string>& misuses() const { return misuses_; }

  // ---- For the fake's own functions ----------------------------------------

  // A checked read: continues if `code` is CONFD_OK, else returns result().
  struct Request {
    int code = CONFD_OK;
    Path path;

    int result() const { return code == kFindsNothing ? CONFD_OK : code; }
  };
  struct Cursor {
    std::string list;
    std::vector<std::vector<Value>> rows;
    std::size_t next = 0;
    std::vector<unsigned char*> octets;  // of the current keys
  };

  // Records a call. Returns whether it must fail.
  bool RecordAndFail(Call call);

  // Formats, records and checks a call with a path. `more` precedes the path in
  // the record.
  Request Begin(const char* name, int sock, int thandle, const char* format,
                va_list args, const std::string& more = "");

  // Sets confd_errno and returns CONFD_ERR.
  static int Fail(int code, const std::string& reason);

  int failure_result() const { return Request{failure_code_, {}}.result(); }
  bool IsOpen(int sock) const { return sock == kSocket; }

  int Exists(const Request& request) const;
  int CountEntries(const Request& request) const;
  const Value* FindLeaf(const Request& request) const;  // null: failed
  int ReadTyped(const Request& request, confd_vtype type,
                confd_value_t* value) const;
  int ReadRunning(int sock, const Path& path, std::int32_t* number) const;
  std::string XpathAnswer(const Path& context,
                          const std::string& expression) const;
  std::vector<Change> ChangesBelow(const Path& top) const;

  confd_value_t GiveValue(const Value& value);
  void TakeValueBack(confd_value_t* value);
  Cursor* OpenCursor(const Path& list);
  Cursor* FindCursor(void* impl);
  void CloseCursor(Cursor* cursor);
  int OpenCdbSession(const HostdInterface* host, cdb_db_type database);
  void CloseCdbSession(int sock);

  void RecordError(TransactionError error);
  void RecordFault(Fault fault) { faults_.push_back(std::move(fault)); }
  void RecordLogLine(LogLine line);

  std::uint32_t vrf_index_of(std::uint32_t component) const;
  int maapi_socket_of(const hostd_t* hostd) const;
  void* lib_context_of(const void* v_opaque, const std::string& name) const;
  void* log_handle_or_null() { return log_available_ ? log_handle() : nullptr; }

 private:
  FakePlatform() { Reset(); }

  Path CheckedPath(const std::string& text) const;
  bool IsKnown(const Path& path) const;
  bool HasRightKeys(const Path& path) const;

  confd_trans_ctx tctx_{};
  std::string opaque_;
  int maapi_socket_ = kSocket;
  void* lib_context_ = nullptr;
  char log_ = 0;  // its address is the handle
  bool log_available_ = true;

  // By normal path; without a value for an entry or a container.
  std::map<std::string, std::optional<Value>> nodes_;
  std::map<std::string, std::vector<std::vector<Value>>> entries_;  // by list
  std::vector<std::string> model_;
  std::map<std::string, Value> running_;
  std::map<std::pair<std::string, std::string>, std::string> xpath_answers_;
  std::vector<Change> changes_;
  std::map<std::uint32_t, std::uint32_t> vrf_indexes_;  // by component

  unsigned calls_until_failure_ = 0;  // 0: none fails
  int failure_code_ = CONFD_ERR;
  std::set<std::string> unreadable_;
  std::set<std::string> exists_fails_;

  // Guards calls_, calls_until_failure_ and log_lines_.
  std::mutex log_mutex_;
  std::vector<Call> calls_;
  std::vector<LogLine> log_lines_;
  std::vector<TransactionError> errors_;
  std::vector<Fault> faults_;
  std::vector<std::string> misuses_;

  std::set<Cursor*> cursors_;
  std::set<unsigned char*> values_;
  std::map<int, cdb_db_type> cdb_sessions_;  // by socket
  int next_cdb_socket_ = 0;
};

inline FakePlatform& Fake() { return FakePlatform::instance(); }

}  // namespace ipav::testing

#endif  // IPAV_TESTS_SUPPORT_FAKE_PLATFORM_H_
