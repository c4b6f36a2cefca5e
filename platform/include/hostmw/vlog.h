// The debug log of the host's validation daemon.
#ifndef IPAV_PLATFORM_HOSTMW_VLOG_H_
#define IPAV_PLATFORM_HOSTMW_VLOG_H_

#include <stdarg.h>

extern "C" {

// Handle of the debug log, or null when the host has none. Owned by the host.
void* get_config_vald_log_handle(void);

// Writes one debug-level line, printf style.
void hostmw_vlog_debug(void* handle, const char* format, va_list args);

}  // extern "C"

#endif  // IPAV_PLATFORM_HOSTMW_VLOG_H_
