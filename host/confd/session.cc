#include "host/confd/session.h"

#include <utility>

#include "host/confd/confd_error.h"

namespace ipav::confd {

namespace {

// Numbers that are unlikely to be a file descriptor of the process, so that a
// confusion is noticed.
constexpr int kMaapiSocket = 1000000;
constexpr int kFirstCdbSocket = kMaapiSocket + 1;
constexpr int kTransactionHandle = 1;

Session* g_session = nullptr;

}  // namespace

Session::Session(const datastore::DataTree& running,
                 const datastore::DataTree& candidate,
                 const datastore::Diff& diff)
    : Session([&running]() -> const datastore::DataTree& { return running; },
              candidate, diff) {}

Session::Session(std::function<const datastore::DataTree&()> running,
                 const datastore::DataTree& candidate,
                 const datastore::Diff& diff)
    : running_(std::move(running)),
      candidate_(candidate),
      diff_(diff),
      candidate_paths_(candidate),
      context_{},
      next_cdb_socket_(kFirstCdbSocket) {
  if (g_session != nullptr) {
    throw std::logic_error("a session is open already");
  }
  context_.thandle = kTransactionHandle;
  g_session = this;
}

Session::~Session() { g_session = nullptr; }

Session* Session::Current() { return g_session; }

Session& Session::OfTransaction(int socket, int thandle) {
  if (g_session == nullptr || socket != kMaapiSocket) {
    throw ConfdError(CONFD_ERR_NOSESSION, "MAAPI socket is not open");
  }
  if (thandle != kTransactionHandle) {
    throw ConfdError(CONFD_ERR_NOTRANS, "no such transaction");
  }
  return *g_session;
}

Session& Session::OfCdbSocket(int socket) {
  if (g_session == nullptr || g_session->cdb_sockets_.count(socket) == 0) {
    throw ConfdError(CONFD_ERR_NOSESSION, "CDB session is not open");
  }
  return *g_session;
}

int Session::maapi_socket() { return kMaapiSocket; }

int Session::OpenCdb() {
  cdb_sockets_.insert(next_cdb_socket_);
  return next_cdb_socket_++;
}

void Session::CloseCdb(int socket) { cdb_sockets_.erase(socket); }

std::optional<std::string> Session::TakeErrorText() {
  return std::exchange(error_text_, std::nullopt);
}

}  // namespace ipav::confd
