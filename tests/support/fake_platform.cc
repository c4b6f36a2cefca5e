#include "tests/support/fake_platform.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

// The platform interface only declares the host's types.
struct hostd {};
class HostdInterface {};

int confd_errno = 0;

namespace ipav::testing {

namespace {

constexpr char kValidationSet[] = "ip_app_validation";
constexpr int kFirstCdbSocket = 1000;

::hostd the_hostd;
HostdInterface the_host_instance;
char the_v_opaque;
std::string last_error;

}  // namespace

FakePlatform& FakePlatform::instance() {
  static FakePlatform platform;
  return platform;
}

void FakePlatform::Reset() {
  for (Cursor* cursor : cursors_) {
    for (unsigned char* octets : cursor->octets) std::free(octets);
    delete cursor;
  }
  for (unsigned char* octets : values_) std::free(octets);
  cursors_.clear();
  values_.clear();
  cdb_sessions_.clear();
  next_cdb_socket_ = kFirstCdbSocket;

  tctx_ = {};
  tctx_.thandle = kTransaction;
  tctx_.vcb_opaque = &the_hostd;
  tctx_.v_opaque = &the_v_opaque;
  maapi_socket_ = kSocket;
  lib_context_ = nullptr;
  log_available_ = true;

  nodes_.clear();
  entries_.clear();
  model_.clear();
  running_.clear();
  xpath_answers_.clear();
  changes_.clear();
  vrf_indexes_.clear();

  calls_until_failure_ = 0;
  unreadable_.clear();
  exists_fails_.clear();

  calls_.clear();
  log_lines_.clear();
  errors_.clear();
  faults_.clear();
  misuses_.clear();
  confd_errno = 0;
}

hostd_t* FakePlatform::hostd() { return &the_hostd; }

HostdInterface* FakePlatform::host_instance() { return &the_host_instance; }

void FakePlatform::set_opaque(const std::string& text) {
  opaque_ = text;
  tctx_.validate_opaque = opaque_.data();
}

// ---- Data ------------------------------------------------------------------

void FakePlatform::AddEntry(const std::string& list, std::vector<Value> keys) {
  Path path = CheckedPath(list);
  const std::string list_text = PathText(path);
  for (const Value& key : keys) path.back().keys.push_back(key.KeyText());
  nodes_.insert_or_assign(PathText(path), std::nullopt);
  entries_[list_text].push_back(std::move(keys));
}

void FakePlatform::SetValue(const std::string& path, const Value& value) {
  const Path checked = CheckedPath(path);
  nodes_.insert_or_assign(PathText(checked), value);
}

void FakePlatform::SetContainer(const std::string& path) {
  const Path checked = CheckedPath(path);
  nodes_.insert_or_assign(PathText(checked), std::nullopt);
}

void FakePlatform::DeclareModel(const std::vector<std::string>& schema_paths) {
  model_.insert(model_.end(), schema_paths.begin(), schema_paths.end());
}

void FakePlatform::SetRunning(const std::string& path, const Value& value) {
  running_.insert_or_assign(NormalPath(path), value);
}

void FakePlatform::SetXpathAnswer(const std::string& context,
                                  const std::string& expression,
                                  const std::string& answer) {
  xpath_answers_[{NormalPath(context), expression}] = answer;
}

void FakePlatform::AddChange(const KeyPath& node, confd_iter_op op,
                             std::optional<Value> new_value) {
  changes_.push_back({node, op, std::move(new_value)});
}

// A test that forgets to add an entry must fail.
Path FakePlatform::CheckedPath(const std::string& text) const {
  Path path = ParsePath(text).value_or(Path{});
  if (path.empty()) throw std::invalid_argument("malformed path: " + text);
  std::string entry;
  for (const PathStep& step : path) {
    entry += PathText({step});
    if (!step.keys.empty() && nodes_.count(entry) == 0) {
      throw std::invalid_argument("no such entry yet: " + text);
    }
  }
  return path;
}

// ---- Failures --------------------------------------------------------------

void FakePlatform::FailCall(unsigned number, int result) {
  calls_until_failure_ = number;
  failure_code_ = result;
}

void FakePlatform::FailReads(const std::string& path) {
  SetContainer(path);
  unreadable_.insert(NormalPath(path));
}

void FakePlatform::FailExists(const std::string& path) {
  exists_fails_.insert(NormalPath(path));
}

int FakePlatform::Fail(int code, const std::string& reason) {
  confd_errno = code;
  last_error = reason;
  return CONFD_ERR;
}

// ---- Records ---------------------------------------------------------------

std::vector<std::string> FakePlatform::CallTexts() const {
  std::vector<std::string> texts;
  for (const Call& call : calls_) texts.push_back(call.text());
  return texts;
}

void FakePlatform::ForgetCalls() { calls_.clear(); }

std::string FakePlatform::error_text() const {
  return errors_.empty() ? "" : errors_.back().text;
}

bool FakePlatform::RecordAndFail(Call call) {
  const std::lock_guard<std::mutex> lock(log_mutex_);
  calls_.push_back(std::move(call));
  return calls_until_failure_ > 0 && --calls_until_failure_ == 0;
}

void FakePlatform::RecordError(TransactionError error) {
  errors_.push_back(std::move(error));
}

void FakePlatform::RecordLogLine(LogLine line) {
  const std::lock_guard<std::mutex> lock(log_mutex_);
  log_lines_.push_back(std::move(line));
}

// ---- Reads -----------------------------------------------------------------

FakePlatform::Request FakePlatform::Begin(const char* name, int sock,
                                          int thandle, const char* format,
                                          va_list args,
                                          const std::string& more) {
  const auto text = FormatPath(format, args);
  if (RecordAndFail(
          {name, more + text.value_or(format), sock, thandle, format})) {
    Fail(CONFD_ERR_PROTOUSAGE, "failed on demand");
    return {failure_code_, {}};
  }
  if (!IsOpen(sock)) return {Fail(CONFD_ERR_NOSESSION, "no such socket"), {}};
  if (thandle != kTransaction) {
    return {Fail(CONFD_ERR_NOTRANS, "no such transaction"), {}};
  }
  if (!text) return {Fail(CONFD_ERR_BADPATH, "bad path format"), {}};
  auto path = ParsePath(*text);
  if (!path || !IsKnown(*path) || !HasRightKeys(*path)) {
    return {Fail(CONFD_ERR_BADPATH, "bad path"), {}};
  }
  return {CONFD_OK, std::move(*path)};
}

bool FakePlatform::IsKnown(const Path& path) const {
  if (model_.empty()) return true;
  const std::string text = SchemaText(path) + '/';
  return std::any_of(model_.begin(), model_.end(),
                     [&](const std::string& known) {
                       return (known + '/').compare(0, text.size(), text) == 0;
                     });
}

// A list has as many keys as its entries.
bool FakePlatform::HasRightKeys(const Path& path) const {
  std::string above;
  for (const PathStep& step : path) {
    if (!step.keys.empty()) {
      const auto list = entries_.find(above + '/' + step.name);
      if (list != entries_.end() &&
          list->second.front().size() != step.keys.size()) {
        return false;
      }
    }
    above += PathText({step});
  }
  return true;
}

int FakePlatform::Exists(const Request& request) const {
  const std::string path = PathText(request.path);
  if (exists_fails_.count(path) > 0) {
    return Fail(CONFD_ERR_PROTOUSAGE, "failed on demand");
  }
  const auto has_below = [&](char separator) {
    const std::string start = path + separator;
    const auto first = nodes_.lower_bound(start);
    return first != nodes_.end() &&
           first->first.compare(0, start.size(), start) == 0;
  };
  const bool found = nodes_.count(path) > 0 || has_below('/') || has_below('{');
  return found ? 1 : 0;
}

int FakePlatform::CountEntries(const Request& request) const {
  if (!request.path.back().keys.empty()) {
    return Fail(CONFD_ERR_BADPATH, "not the path of a list");
  }
  const auto found = entries_.find(PathText(request.path));
  return found == entries_.end() ? 0 : static_cast<int>(found->second.size());
}

const Value* FakePlatform::FindLeaf(const Request& request) const {
  const std::string path = PathText(request.path);
  if (unreadable_.count(path) > 0) {
    Fail(CONFD_ERR_PROTOUSAGE, "failed on demand");
    return nullptr;
  }
  const auto found = nodes_.find(path);
  if (found == nodes_.end() || !found->second) {
    Fail(CONFD_ERR_NOEXISTS, "no value");
    return nullptr;
  }
  return &*found->second;
}

int FakePlatform::ReadTyped(const Request& request, confd_vtype type,
                            confd_value_t* value) const {
  if (request.code != CONFD_OK) return request.code;
  const Value* leaf = FindLeaf(request);
  if (leaf == nullptr) return CONFD_ERR;
  if (leaf->type() != type) return Fail(CONFD_ERR_BADTYPE, "another type");
  *value = leaf->Borrow();
  return CONFD_OK;
}

int FakePlatform::ReadRunning(int sock, const Path& path,
                              std::int32_t* number) const {
  const auto session = cdb_sessions_.find(sock);
  if (session == cdb_sessions_.end()) {
    return Fail(CONFD_ERR_NOSESSION, "no such session");
  }
  if (!IsKnown(path)) return Fail(CONFD_ERR_BADPATH, "bad path");
  const auto found = running_.find(PathText(path));
  if (session->second != CDB_RUNNING || found == running_.end()) {
    return Fail(CONFD_ERR_NOEXISTS, "no value");
  }
  if (found->second.type() != C_INT32) {
    return Fail(CONFD_ERR_BADTYPE, "another type");
  }
  *number = found->second.Borrow().val.i32;
  return CONFD_OK;
}

std::string FakePlatform::XpathAnswer(const Path& context,
                                      const std::string& expression) const {
  const auto found = xpath_answers_.find({PathText(context), expression});
  return found == xpath_answers_.end() ? "" : found->second;
}

std::vector<Change> FakePlatform::ChangesBelow(const Path& top) const {
  std::vector<Change> below;
  for (const Change& change : changes_) {
    const auto path = ParsePath(change.node.text());
    if (path && IsAtOrBelow(*path, top)) below.push_back(change);
  }
  return below;
}

// ---- What is given out and taken back --------------------------------------

confd_value_t FakePlatform::GiveValue(const Value& value) {
  const confd_value_t given = value.Allocate();
  if (value.has_octets()) values_.insert(given.val.buf.ptr);
  return given;
}

void FakePlatform::TakeValueBack(confd_value_t* value) {
  if (value->type != C_BUF && value->type != C_BINARY) return;
  if (values_.erase(value->val.buf.ptr) == 0) {
    misuses_.emplace_back("confd_free_value() of a value that no read gave");
    return;
  }
  std::free(value->val.buf.ptr);
}

FakePlatform::Cursor* FakePlatform::OpenCursor(const Path& list) {
  auto* cursor = new Cursor;
  cursor->list = PathText(list);
  const auto found = entries_.find(cursor->list);
  if (found != entries_.end()) cursor->rows = found->second;
  cursors_.insert(cursor);
  return cursor;
}

FakePlatform::Cursor* FakePlatform::FindCursor(void* impl) {
  const auto found = cursors_.find(static_cast<Cursor*>(impl));
  return found == cursors_.end() ? nullptr : *found;
}

void FakePlatform::CloseCursor(Cursor* cursor) {
  for (unsigned char* octets : cursor->octets) std::free(octets);
  cursors_.erase(cursor);
  delete cursor;
}

int FakePlatform::OpenCdbSession(const HostdInterface* host,
                                 cdb_db_type database) {
  if (host != &the_host_instance) return -1;
  cdb_sessions_[next_cdb_socket_] = database;
  return next_cdb_socket_++;
}

void FakePlatform::CloseCdbSession(int sock) { cdb_sessions_.erase(sock); }

// ---- Host ------------------------------------------------------------------

void FakePlatform::SetVrfIndex(std::uint32_t component, std::uint32_t index) {
  vrf_indexes_[component] = index;
}

std::uint32_t FakePlatform::vrf_index_of(std::uint32_t component) const {
  const auto found = vrf_indexes_.find(component);
  return found == vrf_indexes_.end() ? component : found->second;
}

int FakePlatform::maapi_socket_of(const hostd_t* hostd) const {
  return hostd == &the_hostd ? maapi_socket_ : -1;
}

void* FakePlatform::lib_context_of(const void* v_opaque,
                                   const std::string& name) const {
  const bool ours = v_opaque == &the_v_opaque && name == kValidationSet;
  return ours ? lib_context_ : nullptr;
}

}  // namespace ipav::testing

char* confd_lasterr() {
  return const_cast<char*>(ipav::testing::last_error.c_str());
}
