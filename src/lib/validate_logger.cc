#include "include/validate_logger.h"

#include <hostmw/vlog.h>

#include <cstdarg>

namespace ip_application::config_valid {

ValidateLogger::ValidateLogger() : handle_(get_config_vald_log_handle()) {}

ValidateLogger& ValidateLogger::instance() {
  static ValidateLogger logger;
  return logger;
}

void ValidateLogger::Log(const char* format, ...) {
  const ValidateLogger& logger = instance();
  if (logger.handle_ == nullptr) return;

  va_list args;
  va_start(args, format);
  hostmw_vlog_debug(logger.handle_, format, args);
  va_end(args);
}

}  // namespace ip_application::config_valid
