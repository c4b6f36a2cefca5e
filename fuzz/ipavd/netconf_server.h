// A NETCONF server in this process, without the framing of its clients:
// sessions, operations, and datastores in a folder in memory, with the
// project's own data model. It starts with the small configuration in running
// and startup.
#ifndef IPAV_FUZZ_IPAVD_NETCONF_SERVER_H_
#define IPAV_FUZZ_IPAVD_NETCONF_SERVER_H_

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "fuzz/ipavd/netconf_client.h"
#include "ipavd/netconf/service.h"
#include "ipavd/store/datastores.h"
#include "ipavd/store/state_folder.h"

namespace ipav::fuzz {

class NetconfServer {
 public:
  NetconfServer();
  ~NetconfServer();
  NetconfServer(const NetconfServer&) = delete;
  NetconfServer& operator=(const NetconfServer&) = delete;

  // Processes one message of a client, which connects with its first one. A
  // forbidden change of the datastores and a forbidden reply are findings.
  void Receive(std::size_t client, std::string message);

  // Closes the connection of a client without close-session.
  void CutOff(std::size_t client);

  // Lets time pass: confirmed commits may be rolled back.
  void PassTime(std::chrono::seconds time);

  // Ends the server and starts it again; it must find the same datastores.
  void Restart();

  // Ends all sessions. Whether the server is then, and always was, in the state
  // of its first start.
  bool IsAsNew();

 private:
  using Texts = std::vector<std::string>;

  void Start();
  void EndSessions();
  commit::Outcome Judge(const datastore::DataTree& running,
                        const datastore::DataTree& candidate);
  NetconfClient& Client(std::size_t number);
  void Poll();
  void Check();
  Texts Print() const;

  const std::string folder_;  // removed with the object
  bool trusts_ = false;       // whether the previous running is trusted
  std::set<std::string> accepted_;
  store::TimePoint now_{};
  Texts first_;
  Texts texts_;               // after the last step
  bool has_changed_ = false;  // after any step
  std::unique_ptr<store::StateFolder> state_;
  std::unique_ptr<store::Datastores> datastores_;
  std::unique_ptr<netconf::Service> service_;
  std::map<std::size_t, NetconfClient> clients_;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_NETCONF_SERVER_H_
