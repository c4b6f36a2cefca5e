// Writes debug lines about conditions that the library tolerates to the log of
// the host's validation daemon.
#ifndef IPAV_VALIDATE_LOGGER_H_
#define IPAV_VALIDATE_LOGGER_H_

namespace ip_application::config_valid {

// One per process. The first use, which is thread-safe, gets the log handle
// from the host. Without a handle, a line costs one test of a pointer.
class ValidateLogger {
 public:
  static ValidateLogger& instance();

  // Passes format and arguments to the host, printf style. Does nothing if the
  // host had no log at the first use.
  [[gnu::format(printf, 1, 2)]] static void Log(const char* format, ...);

 private:
  ValidateLogger();

  void* handle_ = nullptr;  // the host's
};

}  // namespace ip_application::config_valid

#endif  // IPAV_VALIDATE_LOGGER_H_
