#include "ipavd/transport/signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

namespace ipav::transport {

namespace {

// A signal handler can only use globals.
volatile std::sig_atomic_t g_write_end = -1;
pid_t g_owner = 0;

void OnSignal(int number) {
  // This is a forked child: the default action.
  if (getpid() != g_owner) {
    static_cast<void>(std::signal(number, SIG_DFL));
    static_cast<void>(std::raise(number));
    return;
  }
  const int error = errno;
  const auto byte = static_cast<char>(number);
  // A full pipe wakes the reader as well.
  if (write(g_write_end, &byte, 1) < 0) errno = error;
}

std::array<int, 2> MakePipe() {
  std::array<int, 2> fds{};
  if (pipe2(fds.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  return fds;
}

void Handle(int number, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigaction(number, &action, nullptr);
}

}  // namespace

Signals::Signals(std::vector<int> numbers)
    : Signals(std::move(numbers), MakePipe()) {}

Signals::Signals(std::vector<int> numbers, const std::array<int, 2>& fds)
    : numbers_(std::move(numbers)), read_end_(fds[0]), write_end_(fds[1]) {
  g_write_end = fds[1];
  g_owner = getpid();
  for (const int number : numbers_) Handle(number, OnSignal);
}

Signals::~Signals() {
  for (const int number : numbers_) Handle(number, SIG_DFL);
}

std::vector<int> Signals::Take() const {
  std::array<char, 64> bytes{};
  const ssize_t got = read(fd(), bytes.data(), bytes.size());
  if (got <= 0) return {};
  return {bytes.begin(), bytes.begin() + got};
}

}  // namespace ipav::transport
