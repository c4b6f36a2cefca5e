// A NETCONF server in this process, behind the framing of its clients:
// sessions, operations, and datastores in a folder in memory, over the
// project's own data model. It begins with the small configuration, running and
// as startup.
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
#include "fuzz/ipavd/temporary_folder.h"
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

  // One message of a client, which connects with its first one, and the answer.
  // What the message may not change, and what its replies may not say, is a
  // finding.
  void Receive(std::size_t client, std::string message);

  // A client that is gone without a word.
  void CutOff(std::size_t client);

  // Confirmed commits may be taken back.
  void PassTime(std::chrono::seconds time);

  // The end of the server, and another start, which finds what there was.
  void Restart();

  // Ends all sessions. Whether the server then is as at its first start, and
  // has been all the time.
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

  TemporaryFolder folder_;
  bool trusts_ = false;  // what was running before is
  std::set<std::string> accepted_;
  store::TimePoint now_{};
  Texts first_;
  Texts texts_;               // behind the last step
  bool has_changed_ = false;  // behind any step
  std::unique_ptr<store::StateFolder> state_;
  std::unique_ptr<store::Datastores> datastores_;
  std::unique_ptr<netconf::Service> service_;
  std::map<std::size_t, NetconfClient> clients_;
};

}  // namespace ipav::fuzz

#endif  // IPAV_FUZZ_IPAVD_NETCONF_SERVER_H_
