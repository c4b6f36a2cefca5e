#include <chrono>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "ipavd/netconf/operations.h"
#include "ipavd/transport/log.h"

namespace ipav::netconf {

namespace {

using store::EditRequest;
using store::ErrorOption;
using store::Operation;
using store::RpcError;
using store::TestOption;

// The value of a leaf that the model restricts to those of the table.
template <typename T>
T Choice(const Call& call, const char* leaf, T otherwise,
         const std::map<std::string, T>& values) {
  const auto found = values.find(Text(call, leaf).value_or(""));
  return found == values.end() ? otherwise : found->second;
}

// Answers an operation. Logs who did it if it may change running or startup;
// the candidate does not count until it is committed.
Reply Record(const Call& call, const std::vector<RpcError>& errors) {
  std::string deed = call.rpc.schema->name;
  if (Find(call.rpc, "target") != nullptr) {
    const store::Datastore target = DatastoreIn(call, "target");
    if (target == store::Datastore::kCandidate) return Answer(call.rpc, errors);
    deed += std::string(" of ") + NameOf(target);
  }
  transport::Log(
      transport::Severity::kNotice,
      "session " + std::to_string(call.session.id()) + " (" +
          NameOf(call.session.client()) + ") " + deed + ": " +
          (errors.empty() ? "ok" : "error: " + store::InWords(errors.front())));
  return Answer(call.rpc, errors);
}

Reply Record(const Call& call, const store::Result& error) {
  return error.has_value() ? Record(call, std::vector<RpcError>{*error})
                           : Record(call, std::vector<RpcError>());
}

}  // namespace

Reply EditConfig(const Call& call) {
  EditRequest request;
  request.target = DatastoreIn(call, "target");
  request.default_operation =
      Choice(call, "default-operation", Operation::kMerge,
             {{"replace", Operation::kReplace}, {"none", Operation::kNone}});
  request.test_option = Choice(call, "test-option", TestOption::kSet,
                               {{"test-then-set", TestOption::kTestThenSet},
                                {"test-only", TestOption::kTestOnly}});
  request.error_option =
      Choice(call, "error-option", ErrorOption::kStop,
             {{"continue-on-error", ErrorOption::kContinue},
              {"rollback-on-error", ErrorOption::kRollback}});
  const lyd_node* config = Find(call.rpc, "config");
  if (config == nullptr) throw MissingElement("config");
  request.config = ConfigIn(*config);
  return Record(call,
                call.environment.datastores.Edit(call.session.id(), request));
}

Reply CopyConfig(const Call& call) {
  return Record(call, call.environment.datastores.CopyConfig(
                          call.session.id(), SourceOf(call),
                          DatastoreIn(call, "target")));
}

Reply DeleteConfig(const Call& call) {
  return Record(call, call.environment.datastores.DeleteConfig(
                          call.session.id(), DatastoreIn(call, "target")));
}

Reply DiscardChanges(const Call& call) {
  return Answer(call.rpc,
                call.environment.datastores.DiscardChanges(call.session.id()));
}

Reply Validate(const Call& call) {
  return Answer(call.rpc, call.environment.datastores.Validate(SourceOf(call)));
}

Reply Commit(const Call& call) {
  store::CommitRequest request;
  request.confirmed = Find(call.rpc, "confirmed") != nullptr;
  if (const auto timeout = Text(call, "confirm-timeout")) {
    request.timeout =
        std::chrono::seconds(std::strtoul(timeout->c_str(), nullptr, 10));
  }
  request.persist = Text(call, "persist");
  request.persist_id = Text(call, "persist-id");
  return Record(call,
                call.environment.datastores.Commit(call.session.id(), request));
}

Reply CancelCommit(const Call& call) {
  return Record(call, call.environment.datastores.CancelCommit(
                          call.session.id(), Text(call, "persist-id")));
}

Reply Lock(const Call& call) {
  return Answer(call.rpc, call.environment.datastores.Lock(
                              call.session.id(), DatastoreIn(call, "target")));
}

Reply Unlock(const Call& call) {
  return Answer(call.rpc, call.environment.datastores.Unlock(
                              call.session.id(), DatastoreIn(call, "target")));
}

}  // namespace ipav::netconf
