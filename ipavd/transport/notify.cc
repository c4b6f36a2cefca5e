#include "ipavd/transport/notify.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>

#include "host/base/file_descriptor.h"
#include "ipavd/transport/log.h"

namespace ipav::transport {

void Notify(const std::string& state) {
  const char* name = std::getenv("NOTIFY_SOCKET");
  if (name == nullptr || *name == '\0') return;
  const std::string_view path = name;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) return;
  char* place = static_cast<char*>(address.sun_path);
  path.copy(place, path.size());
  // An abstract socket address begins with a null byte.
  if (path.front() == '@') *place = '\0';
  const auto size =
      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());

  const base::FileDescriptor fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  if (sendto(fd.get(), state.data(), state.size(), MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr*>(&address), size) < 0) {
    Log(Severity::kWarning, "the service manager cannot be told " + state);
  }
}

}  // namespace ipav::transport
