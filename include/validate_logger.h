// The library's only diagnostic channel: debug lines for conditions that it
// tolerates, written to the log of the host's validation daemon.
#ifndef IPAV_VALIDATE_LOGGER_H_
#define IPAV_VALIDATE_LOGGER_H_

namespace ip_application::config_valid {

// One per process, made on first use; threads may race for the first use. Only
// then is the host asked for its log handle. If the host has no log, a line
// costs one test.
class ValidateLogger {
 public:
  static ValidateLogger& instance();

  // Hands format and arguments to the host unchanged, printf style. Dropped
  // when the host had no log at the first call.
  [[gnu::format(printf, 1, 2)]] static void Log(const char* format, ...);

 private:
  ValidateLogger();

  void* handle_ = nullptr;  // the host's
};

}  // namespace ip_application::config_valid

#endif  // IPAV_VALIDATE_LOGGER_H_
