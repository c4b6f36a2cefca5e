// The SSH clients that have not logged in yet. Decides whether one more may
// try, so that clients that never log in do not keep the others out.
#ifndef IPAV_IPAVD_TRANSPORT_LOGINS_H_
#define IPAV_IPAVD_TRANSPORT_LOGINS_H_

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace ipav::transport {

// Numbers of logins at a time, as MaxStartups of sshd(8) has them.
struct LoginLimits {
  unsigned start = 10;  // below: nobody is refused
  unsigned rate = 30;   // percent of the clients that are refused at `start`
  unsigned full = 60;   // everybody is refused
  unsigned per_source = 8;  // of one address
};

class Logins {
 public:
  explicit Logins(const LoginLimits& limits) : limits_(limits) {}

  // Whether to refuse a client now. The probability grows evenly from `rate`
  // percent at `start` logins to 100 at `full`. `percent` is a random number
  // below 100.
  bool Refuses(unsigned percent) const;

  // The process of the oldest login of this source if the source has no room
  // for another one. The newest client replaces it: a login takes less than a
  // second, so the oldest one is most likely idle.
  std::optional<pid_t> OldestOfFull(const std::string& source) const;

  void Begin(pid_t process, const std::string& source);

  // The client has logged in or is gone. Ignores other processes.
  void End(pid_t process);

 private:
  struct Login {
    pid_t process;
    std::string source;
  };

  const LoginLimits limits_;
  std::vector<Login> logins_;  // the oldest first
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_LOGINS_H_
