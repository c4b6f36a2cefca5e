// Messages of NETCONF clients, without framing, to the server with its
// sessions, operations and datastores. The plug-in validates commits, in this
// process.
//
// Legal: for each message a reply, or the end of its session and of no other
// (except with kill-session). A reply is XML, and ok, data or errors. An error
// has a tag with a type that the tag may have, and the elements that the tag
// requires. A refused operation does not change a datastore, except with
// continue-on-error. The plug-in has accepted running. The library keeps no
// errors. A second start finds the datastores of the first one, unless a
// confirmed commit is pending.
//
// Input: steps, with "]]>]]>" between them. A step is a message of the first
// client, or of another one after "2" or "3". A message that begins with "<",
// is empty, or follows a "=" is sent unchanged; any other is an operation in
// short form (ipavd/short_xml.h), such as "lock(target(candidate))". "T" alone:
// an hour passes. "X1", "X2", "X3": the client disconnects. "R": the server
// ends and starts again. "$1" in a message is replaced by the number of the
// first client's session.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "fuzz/ipavd/netconf_server.h"
#include "fuzz/ipavd/short_xml.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/target.h"

namespace ipav::fuzz {

namespace {

// A connection holds as much, and the server reads when it is all there.
constexpr std::size_t kMaxInput = std::size_t{64} << 10;

constexpr char kMark[] = "]]>]]>";

// "cfg" is the data model's own element config.
const ShortNames& Names() {
  static const ShortNames kNames = {
      {{"cfg", "config xmlns=\"urn:vorplex:config\""},
       {"l3", "l3 xmlns=\"urn:vorplex:ipapp\""},
       {"loopback", "loopback xmlns=\"urn:vorplex:ipapp\""},
       {"mgmt", "mgmt xmlns=\"urn:vorplex:ipapp\""},
       {"internal", "internal xmlns=\"urn:vorplex:internal\""},
       {"DC-RTM-MIB", "DC-RTM-MIB xmlns=\"urn:vorplex:dc-rtm-mib\""},
       {"rtmStaticRtEntry-global",
        "rtmStaticRtEntry-global xmlns=\"urn:vorplex:dc-rtm-mib\""},
       {"get-schema",
        "get-schema xmlns=\"urn:ietf:params:xml:ns:yang:"
        "ietf-netconf-monitoring\""},
       {"netconf-state",
        "netconf-state xmlns=\"urn:ietf:params:xml:ns:yang:"
        "ietf-netconf-monitoring\""},
       {"yang-library",
        "yang-library xmlns=\"urn:ietf:params:xml:ns:yang:"
        "ietf-yang-library\""},
       {"with-defaults",
        "with-defaults xmlns=\"urn:ietf:params:xml:ns:yang:"
        "ietf-netconf-with-defaults\""},
       {"action", "action xmlns=\"urn:ietf:params:xml:ns:yang:1\""}},
      {{"operation", "nc:operation"},
       {"insert", "y:insert"},
       {"default", "wd:default"}}};
  return kNames;
}

std::string MessageOf(const std::string& step) {
  if (step.empty() || step[0] == '<') return step;
  if (step[0] == '=') return step.substr(1);
  return "<rpc xmlns=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
         "xmlns:nc=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
         "xmlns:y=\"urn:ietf:params:xml:ns:yang:1\" "
         "xmlns:wd=\"urn:ietf:params:xml:ns:netconf:default:1.0\" "
         "xmlns:v=\"urn:vorplex:config\" xmlns:i=\"urn:vorplex:ipapp\" "
         "message-id=\"1\">" +
         FromShortXml(step, Names()) + "</rpc>";
}

void Do(const std::string& step, NetconfServer* server) {
  if (step == "T") return server->PassTime(std::chrono::hours(1));
  if (step == "R") return server->Restart();
  const char first = step.empty() ? '\0' : step[0];
  if (first == 'X' && step.size() == 2) {
    return server->CutOff(static_cast<std::size_t>(step[1] - '0'));
  }
  if (first == '2' || first == '3') {
    return server->Receive(static_cast<std::size_t>(first - '0'),
                           MessageOf(step.substr(1)));
  }
  server->Receive(1, MessageOf(step));
}

void DoAll(const std::string& input) {
  // Kept as long as it is as new.
  static auto server = std::make_unique<NetconfServer>();
  std::size_t at = 0;
  while (at <= input.size()) {
    const std::size_t end = std::min(input.find(kMark, at), input.size());
    Do(input.substr(at, end - at), server.get());
    at = end + sizeof(kMark) - 1;
  }
  if (server->IsAsNew()) return;
  server->Restart();
  server = std::make_unique<NetconfServer>();
}

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size <= ipav::fuzz::kMaxInput) {
    ipav::fuzz::DoAll(std::string(data, data + size));
  }
  return 0;
}
