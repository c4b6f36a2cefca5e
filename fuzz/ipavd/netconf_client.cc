#include "fuzz/ipavd/netconf_client.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "fuzz/support/finding.h"
#include "ipavd/transport/request.h"
#include "netconf/framing.h"
#include "netconf/hello.h"

namespace ipav::fuzz {

namespace {

using netconf::Deframer;
using netconf::Framing;

constexpr char kNetconf[] = "urn:ietf:params:xml:ns:netconf:base:1.0";

using Names = std::vector<std::string_view>;

struct TagRule {
  Names types;
  Names info;  // elements that error-info must have
};

// RFC 6241, appendix A.
const std::map<std::string_view, TagRule>& TagRules() {
  static const Names kAll = {"transport", "rpc", "protocol", "application"};
  static const Names kBehindRpc = {"rpc", "protocol", "application"};
  static const Names kUpper = {"protocol", "application"};
  static const std::map<std::string_view, TagRule> kRules = {
      {"in-use", {kUpper, {}}},
      {"invalid-value", {kUpper, {}}},
      {"too-big", {kAll, {}}},
      {"missing-attribute", {kBehindRpc, {"bad-attribute", "bad-element"}}},
      {"bad-attribute", {kBehindRpc, {"bad-attribute", "bad-element"}}},
      {"unknown-attribute", {kBehindRpc, {"bad-attribute", "bad-element"}}},
      {"missing-element", {kUpper, {"bad-element"}}},
      {"bad-element", {kUpper, {"bad-element"}}},
      {"unknown-element", {kUpper, {"bad-element"}}},
      {"unknown-namespace", {kUpper, {"bad-element", "bad-namespace"}}},
      {"access-denied", {kUpper, {}}},
      {"lock-denied", {{"protocol"}, {"session-id"}}},
      {"resource-denied", {kAll, {}}},
      {"rollback-failed", {kUpper, {}}},
      {"data-exists", {{"application"}, {}}},
      {"data-missing", {{"application"}, {}}},
      {"operation-not-supported", {kUpper, {}}},
      {"operation-failed", {kBehindRpc, {}}},
      {"malformed-message", {{"rpc"}, {}}},
  };
  return kRules;
}

bool Has(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

std::string_view View(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

bool IsElement(const xmlNode* node, std::string_view name) {
  return node->type == XML_ELEMENT_NODE && View(node->name) == name &&
         node->ns != nullptr && View(node->ns->href) == kNetconf;
}

std::vector<const xmlNode*> ElementsOf(const xmlNode* parent) {
  std::vector<const xmlNode*> elements;
  for (const xmlNode* node = parent->children; node != nullptr;
       node = node->next) {
    if (node->type == XML_ELEMENT_NODE) elements.push_back(node);
  }
  return elements;
}

// The text of the only child of that name; empty if there is none.
std::string TextOf(const xmlNode* parent, std::string_view name) {
  std::string text;
  bool is_there = false;
  for (const xmlNode* node : ElementsOf(parent)) {
    if (!IsElement(node, name)) continue;
    Require(!is_there, "a part of an error twice");
    is_there = true;
    xmlChar* content = xmlNodeGetContent(node);
    text = View(content);
    xmlFree(content);
  }
  return text;
}

void RequireLegalError(const xmlNode* error) {
  Require(TextOf(error, "error-severity") == "error", "another severity");
  Names info;
  for (const xmlNode* node : ElementsOf(error)) {
    if (!IsElement(node, "error-info")) continue;
    for (const xmlNode* part : ElementsOf(node)) {
      info.push_back(View(part->name));
    }
  }
  const std::string type = TextOf(error, "error-type");
  const std::string tag = TextOf(error, "error-tag");
  const auto rule = TagRules().find(tag);
  if (rule == TagRules().end()) Finding("an unknown tag: " + tag);
  if (!Has(rule->second.types, type)) {
    Finding("a tag of another type: " + type + ", " + tag);
  }
  for (const std::string_view name : rule->second.info) {
    if (!Has(info, name)) Finding(tag + " without " + std::string(name));
  }
}

// It is a finding if the text is not an rpc-reply of RFC 6241: XML that is not
// well-formed; neither ok, data nor errors; an error with a type that its tag
// cannot have (appendix A), or without the elements that the tag requires.
void RequireLegalReply(const std::string& text) {
  struct Free {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
  };
  const std::unique_ptr<xmlDoc, Free> document(xmlReadMemory(
      text.data(), static_cast<int>(text.size()), "reply", nullptr,
      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  if (document == nullptr) Finding("a reply that is no XML: " + text);
  const xmlNode* reply = xmlDocGetRootElement(document.get());
  Require(IsElement(reply, "rpc-reply"), "a reply of another name");
  const std::vector<const xmlNode*> parts = ElementsOf(reply);
  Require(!parts.empty(), "an empty reply");
  const bool is_refused = IsElement(parts.front(), "rpc-error");
  Require(is_refused || parts.size() == 1, "a reply of several parts");
  for (const xmlNode* part : parts) {
    if (is_refused) {
      Require(IsElement(part, "rpc-error"), "errors and more");
      RequireLegalError(part);
    } else {
      Require(IsElement(part, "ok") || View(part->name) == "data",
              "neither ok nor data");
    }
  }
}

std::string ContentOf(int file) {
  std::string content(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  Require(pread(file, content.data(), content.size(), 0) ==
              static_cast<ssize_t>(content.size()),
          "replies that cannot be read");
  return content;
}

}  // namespace

NetconfClient::NetconfClient() {
  std::array<int, 2> ends{};
  Require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0,
          "no connection");
  end_ = base::FileDescriptor(ends[0]);
  server_end_ = base::FileDescriptor(ends[1]);
  const std::string hello =
      Frame(Framing::kEndOfMessage, netconf::ClientHello());
  Require(send(end_.get(), hello.data(), hello.size(), MSG_NOSIGNAL) ==
              static_cast<ssize_t>(hello.size()),
          "a hello that cannot be sent");
  StartReader();
}

NetconfClient::~NetconfClient() {
  server_end_.Close();
  WaitForReader();
}

// Its copies of the connections are closed, so that they end.
void NetconfClient::StartReader() {
  received_ = base::FileDescriptor(memfd_create("received", MFD_CLOEXEC));
  Require(received_.get() >= 0, "no file in memory");
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, end_.get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&files, received_.get(), STDOUT_FILENO);
  std::array<char, 4> name{"cat"};
  std::array<char*, 2> arguments{name.data(), nullptr};
  Require(posix_spawnp(&reader_, name.data(), &files, nullptr, arguments.data(),
                       environ) == 0,
          "no process that reads");
  posix_spawn_file_actions_destroy(&files);
}

void NetconfClient::WaitForReader() {
  if (reader_ < 0) return;
  pid_t ended = 0;
  do {
    ended = waitpid(reader_, nullptr, 0);
  } while (ended < 0 && errno == EINTR);  // libFuzzer has a timer
  // It fails if the server closes a connection without reading all of it.
  Require(ended == reader_, "a process that reads is lost");
  reader_ = -1;
}

bool NetconfClient::Send(const std::string& message) {
  const std::string framed =
      Frame(Framing::kChunked, transport::PrepareRequest(message));
  ++sent_;
  return send(end_.get(), framed.data(), framed.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(framed.size());
}

void NetconfClient::Leave() { shutdown(end_.get(), SHUT_WR); }

void NetconfClient::CheckReplies() {
  WaitForReader();
  Deframer deframer(std::numeric_limits<std::size_t>::max());
  deframer.Add(ContentOf(received_.get()));
  try {
    Require(deframer.Next().has_value(), "no hello of the server");
    deframer.set_framing(Framing::kChunked);
    std::size_t replies = 0;
    while (const auto reply = deframer.Next()) {
      RequireLegalReply(*reply);
      ++replies;
    }
    Require(!deframer.has_part(), "a reply without an end");
    Require(replies <= sent_, "more replies than messages");
  } catch (const netconf::FramingError& error) {
    Finding(std::string("replies in no framing: ") + error.what());
  }
}

}  // namespace ipav::fuzz
