#include "host/base/trusted_path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace ipav::base {

namespace {

// What is wrong with one file or folder. `name` is what to call it.
std::string FaultOf(const struct stat& status, const std::string& name,
                    bool may_be_sticky) {
  if (status.st_uid != 0 && status.st_uid != geteuid()) {
    return name + "belongs to another user; chown it";
  }
  const bool is_sticky = may_be_sticky && (status.st_mode & S_ISVTX) != 0;
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) == 0 || is_sticky) return "";
  return name + "may be written by others; chmod go-w it";
}

}  // namespace

std::string WhyOthersMayChange(const std::string& path) {
  // 1. The file or folder itself.
  struct stat status {};
  std::error_code error;
  const auto real = std::filesystem::canonical(path, error);
  if (error || stat(real.c_str(), &status) != 0) {
    return error ? error.message() : std::generic_category().message(errno);
  }
  std::string fault = FaultOf(status, "", false);
  // 2. The folders above it. A file in a sticky folder may be another user's.
  bool may_be_sticky = S_ISDIR(status.st_mode);
  for (auto each = real; fault.empty() && each.has_relative_path();) {
    each = each.parent_path();
    if (stat(each.c_str(), &status) != 0) {
      return std::generic_category().message(errno);
    }
    fault = FaultOf(status, "its folder " + each.string() + " ", may_be_sticky);
    may_be_sticky = true;
  }
  return fault;
}

}  // namespace ipav::base
