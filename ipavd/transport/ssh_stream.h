// The subsystem "netconf" of an SSH connection (RFC 6242), as a byte stream.
#ifndef IPAV_IPAVD_TRANSPORT_SSH_STREAM_H_
#define IPAV_IPAVD_TRANSPORT_SSH_STREAM_H_

#include <libssh/callbacks.h>
#include <libssh/libssh.h>
#include <libssh/server.h>

#include <optional>
#include <string>
#include <string_view>

#include "host/base/file_descriptor.h"
#include "ipavd/transport/authorized_keys.h"
#include "ipavd/transport/byte_stream.h"

namespace ipav::transport {

class SshStream : public ByteStream {
 public:
  // Waits until the client has logged in with one of the keys and has asked for
  // the subsystem. Throws std::runtime_error when it fails. The keys are
  // borrowed during the call.
  SshStream(base::FileDescriptor socket, const Key& host_key,
            const AuthorizedKeys& keys);
  ~SshStream() override;

  // The name that the client logged in with.
  const std::string& user() const { return user_; }

  // The fingerprint of the key that it logged in with.
  const std::string& key() const { return key_; }

  int fd() const override { return ssh_get_fd(session_.get()); }
  short Events(bool reads, bool writes) const override;
  bool has_more() override;
  std::optional<std::string> Read() override;
  std::optional<std::size_t> Write(std::string_view bytes) override;

  // Tells the client that its session ended in good order. Nothing may be
  // written afterwards.
  void SendExitStatus();

 private:
  void SetCallbacks();
  void Serve();
  bool HoldsBytes() const;
  std::string WhyNoLogin() const;

  // Callbacks of libssh; `userdata` is this object.
  static int OnKey(ssh_session session, const char* user, ssh_key key,
                   char state, void* userdata);
  static int OnSubsystem(ssh_session session, ssh_channel channel,
                         const char* name, void* userdata);
  static ssh_channel OnOpen(ssh_session session, void* userdata);

  const AuthorizedKeys* keys_;
  base::CPtr<ssh_session_struct, ssh_free> session_;
  ssh_channel channel_ = nullptr;  // belongs to the session
  ssh_server_callbacks_struct server_callbacks_{};
  ssh_channel_callbacks_struct channel_callbacks_{};
  std::string user_;
  std::string key_;  // the last one that the client used
  unsigned refused_keys_ = 0;
  bool is_known_ = false;  // logged in
  bool has_subsystem_ = false;
};

}  // namespace ipav::transport

#endif  // IPAV_IPAVD_TRANSPORT_SSH_STREAM_H_
