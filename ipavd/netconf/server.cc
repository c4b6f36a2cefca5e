#include "ipavd/netconf/server.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <stdexcept>
#include <utility>
#include <vector>

#include "ipavd/transport/log.h"

namespace ipav::netconf {

namespace {

using transport::Log;
using transport::Severity;

}  // namespace

Server::Server(ly_ctx* context, const ServerOptions& options,
               store::Datastores* datastores, transport::Acceptor* acceptor)
    : once_(options.once),
      library_(context),
      datastores_(*datastores),
      acceptor_(*acceptor),
      service_(context, datastores, options.sessions) {}

void Server::Run(const transport::Signals& signals) {
  LogNotices();
  while (!is_over_) {
    Wait(signals);
    HandleSignals(signals);
    if (is_over_) break;
    datastores_.CheckTime();
    AcceptClient();
    service_.Poll();
    if (once_ && service_.has_ended()) is_over_ = true;
    LogNotices();
  }
  service_.EndAll();
  LogNotices();
}

void Server::Wait(const transport::Signals& signals) {
  std::vector<pollfd> fds{{signals.fd(), POLLIN, 0},
                          {acceptor_.control(), POLLIN, 0}};
  for (const auto& session : service_.sessions().all()) {
    const int events = session->has_child() ? 0 : POLLIN;
    fds.push_back({session->fd(), static_cast<short>(events), 0});
  }
  poll(fds.data(), fds.size(), service_.has_more() ? 0 : TimeToWait());
}

// Milliseconds until the next confirmed commit is rolled back; -1: none waits.
int Server::TimeToWait() const {
  using std::chrono::milliseconds;
  const auto deadline = datastores_.Deadline();
  if (!deadline.has_value()) return -1;
  const auto left = std::chrono::ceil<milliseconds>(
      *deadline - std::chrono::steady_clock::now());
  return static_cast<int>(
      std::clamp(left, milliseconds(0), milliseconds(INT_MAX)).count());
}

void Server::HandleSignals(const transport::Signals& signals) {
  for (const int number : signals.Take()) {
    if (number == SIGTERM || number == SIGINT) is_over_ = true;
    if (number == SIGHUP) acceptor_.Reload();
  }
  if (!is_over_ && !acceptor_.is_alive()) {
    throw std::runtime_error("the process that lets clients in has ended");
  }
}

void Server::AcceptClient() {
  auto client = transport::ReceiveConnection(acceptor_.control());
  if (client.has_value()) service_.AddSession(*std::move(client));
}

void Server::LogNotices() {
  for (const std::string& notice : datastores_.TakeNotices()) {
    Log(Severity::kNotice, notice);
  }
}

}  // namespace ipav::netconf
