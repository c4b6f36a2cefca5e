#include "ipavd/store/datastores.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/ipavd/store/store_fixtures.h"

namespace {

namespace fs = std::filesystem;

using host_test::Contains;
using ipav::store::CommitRequest;
using ipav::store::Datastore;
using ipav::store::EditRequest;
using ipav::store::ErrorOption;
using ipav::store::ErrorTag;
using ipav::store::ErrorType;
using ipav::store::InlineConfig;
using ipav::store::Operation;
using ipav::store::Result;
using ipav::store::RpcError;
using ipav::store::SessionId;
using ipav::store::StateError;
using ipav::store::TestOption;
using std::chrono::seconds;
using store_test::FailsWith;
using store_test::InfoOf;
using store_test::Server;
using store_test::Succeeds;
using store_test::Xml;

constexpr SessionId kMine = 1;
constexpr SessionId kOther = 2;
constexpr const char* kOne = "<top NS><a>1</a></top>";
constexpr const char* kTwo = "<top NS><a>2</a></top>";
constexpr const char* kBad = "<top NS><refuse>x</refuse></top>";

std::vector<RpcError> Edit(Server* server, const std::string& config,
                           EditRequest request = {},
                           SessionId session = kMine) {
  request.config = Xml(config);
  return (*server)->Edit(session, request);
}

Result FirstOf(const std::vector<RpcError>& errors) {
  return errors.empty() ? Result() : Result(errors[0]);
}

std::string NoticesOf(Server* server) {
  std::string text;
  for (const std::string& notice : (*server)->TakeNotices()) {
    text += notice + "\n";
  }
  return text;
}

std::string StartErrorOf(Server* server) {
  server->Stop();
  try {
    server->Start();
  } catch (const StateError& error) {
    server->Stop();
    return error.what();
  }
  ADD_FAILURE() << "it starts";
  return "";
}

// Edit, commit, discard.

TEST(Datastores, BeginWithNothingAndSaySo) {
  Server server;
  EXPECT_EQ(server.running(), "");
  EXPECT_EQ(server.candidate(), "");
  EXPECT_EQ(server.startup(), "");
  EXPECT_EQ(
      NoticesOf(&server),
      server.path() + "/running.xml: is new: nothing is configured yet\n");
  server.Restart();
  EXPECT_EQ(NoticesOf(&server), "");
}

TEST(Datastores, AnEditIsTheCandidatesUntilItIsCommitted) {
  Server server;
  server.Edit(kOne);
  EXPECT_EQ(server.running(), "");
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
  EXPECT_TRUE(Succeeds(server->Commit(kMine)));
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
}

TEST(Datastores, TreesHaveTheirDefaultNodes) {
  Server server;
  server.Edit(kOne);
  for (const Datastore datastore :
       {Datastore::kCandidate, Datastore::kRunning}) {
    lyd_node* leaf = nullptr;
    ASSERT_EQ(lyd_find_path(server->Tree(datastore), "/m:top/c", 0, &leaf),
              LY_SUCCESS);
    EXPECT_NE(leaf->flags & LYD_DEFAULT, 0U);
  }
}

TEST(Datastores, ACommitIsKeptByARestart) {
  Server server;
  server.Commit(kOne);
  server.Restart();
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
}

TEST(Datastores, AnEditThatIsNotCommittedIsKeptByARestart) {
  Server server;
  server.Commit(kOne);
  server.Edit(kTwo);
  server.Restart();
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_EQ(server.candidate(), "<top><a>2</a></top>");
  EXPECT_TRUE(Succeeds(server->Commit(kMine)));
  EXPECT_FALSE(server.Has("candidate.xml"));
}

TEST(Datastores, DiscardedChangesAreGoneForGood) {
  Server server;
  server.Commit(kOne);
  server.Edit(kTwo);
  EXPECT_TRUE(Succeeds(server->DiscardChanges(kOther)));
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
  server.Restart();
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
}

TEST(Datastores, ARefusedCommitChangesNothingAndCanBeCorrected) {
  Server server;
  server.Commit(kOne);
  server.Edit(kBad);
  EXPECT_TRUE(FailsWith(server->Commit(kMine), ErrorTag::kOperationFailed,
                        "refused for a reason."));
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_EQ(server.candidate(), "<top><a>1</a><refuse>x</refuse></top>");
  server.Commit("<top NS><refuse NC:\"delete\"/><b>1</b></top>");
  EXPECT_EQ(server.running(), "<top><a>1</a><b>1</b></top>");
}

TEST(Datastores, ACommitOfNothingSucceeds) {
  Server server;
  EXPECT_TRUE(Succeeds(server->Commit(kMine)));
}

TEST(Datastores, AnEditWithAnErrorChangesNothing) {
  Server server;
  server.Edit(kOne);
  for (const ErrorOption option :
       {ErrorOption::kStop, ErrorOption::kRollback}) {
    EditRequest request;
    request.error_option = option;
    const std::vector<RpcError> errors =
        Edit(&server, "<top NS><a>2</a><b NC:\"delete\"/></top>", request);
    EXPECT_EQ(errors.size(), 1U);
    EXPECT_TRUE(FailsWith(FirstOf(errors), ErrorTag::kDataMissing, ""));
    EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
  }
}

TEST(Datastores, AnEditThatContinuesDoesWhatItCan) {
  Server server;
  EditRequest request;
  request.error_option = ErrorOption::kContinue;
  const std::vector<RpcError> errors = Edit(
      &server, "<top NS><a>2</a><b NC:\"delete\"/><c>x</c></top>", request);
  EXPECT_EQ(errors.size(), 2U);
  EXPECT_EQ(server.candidate(), "<top><a>2</a></top>");
}

TEST(Datastores, TheDefaultOperationIsThatOfTheRequest) {
  Server server;
  server.Edit("<top NS><a>1</a><b>1</b></top>");
  EditRequest request;
  request.default_operation = Operation::kReplace;
  EXPECT_TRUE(Edit(&server, "<top NS><a>2</a></top>", request).empty());
  EXPECT_EQ(server.candidate(), "<top><a>2</a></top>");
}

TEST(Datastores, ABadEditIsSetWithoutATest) {
  Server server;
  EXPECT_TRUE(Edit(&server, kBad).empty());
  EXPECT_EQ(server.candidate(), "<top><refuse>x</refuse></top>");
}

TEST(Datastores, ABadEditIsNotSetAfterATest) {
  Server server;
  server.Edit(kOne);
  for (const TestOption option :
       {TestOption::kTestThenSet, TestOption::kTestOnly}) {
    EditRequest request;
    request.test_option = option;
    EXPECT_TRUE(FailsWith(FirstOf(Edit(&server, kBad, request)),
                          ErrorTag::kOperationFailed, "refused for a reason."));
    EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
  }
}

TEST(Datastores, AGoodEditIsSetAfterATestUnlessItIsOnlyThat) {
  Server server;
  EditRequest request;
  request.test_option = TestOption::kTestOnly;
  EXPECT_TRUE(Edit(&server, kOne, request).empty());
  EXPECT_EQ(server.candidate(), "");
  request.test_option = TestOption::kTestThenSet;
  EXPECT_TRUE(Edit(&server, kOne, request).empty());
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
}

TEST(Datastores, RunningCanBeEditedThroughTheGate) {
  Server server;
  EditRequest request;
  request.target = Datastore::kRunning;
  EXPECT_TRUE(Edit(&server, kOne, request).empty());
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  for (const TestOption option :
       {TestOption::kSet, TestOption::kTestThenSet, TestOption::kTestOnly}) {
    request.test_option = option;
    EXPECT_TRUE(FailsWith(FirstOf(Edit(&server, kBad, request)),
                          ErrorTag::kOperationFailed, "refused for a reason."));
  }
  EXPECT_TRUE(Edit(&server, kTwo, request).empty());  // a test only
  server.Restart();
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
}

TEST(Datastores, AnUnchangedCandidateFollowsRunning) {
  Server server;
  EditRequest request;
  request.target = Datastore::kRunning;
  EXPECT_TRUE(Edit(&server, kOne, request).empty());
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
}

TEST(Datastores, StartupIsNotEdited) {
  Server server;
  EditRequest request;
  request.target = Datastore::kStartup;
  EXPECT_TRUE(FailsWith(FirstOf(Edit(&server, kOne, request)),
                        ErrorTag::kOperationNotSupported, "startup"));
}

// copy-config, delete-config, validate.

TEST(Datastores, OneDatastoreIsCopiedToAnother) {
  Server server;
  server.Commit(kOne);
  server.Edit(kTwo);
  EXPECT_TRUE(Succeeds(
      server->CopyConfig(kMine, Datastore::kRunning, Datastore::kStartup)));
  EXPECT_EQ(server.startup(), "<top><a>1</a></top>");
  EXPECT_TRUE(Succeeds(
      server->CopyConfig(kMine, Datastore::kCandidate, Datastore::kRunning)));
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
  EXPECT_TRUE(Succeeds(
      server->CopyConfig(kMine, Datastore::kStartup, Datastore::kCandidate)));
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
  server.Restart();
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
  EXPECT_EQ(server.startup(), "<top><a>1</a></top>");
}

TEST(Datastores, ACopyOfRunningDiscardsTheCandidatesChanges) {
  Server server;
  server.Edit(kOne);
  EXPECT_TRUE(Succeeds(
      server->CopyConfig(kMine, Datastore::kRunning, Datastore::kCandidate)));
  EXPECT_EQ(server.candidate(), "");
  EXPECT_TRUE(Succeeds(server->Lock(kMine, Datastore::kCandidate)));
}

TEST(Datastores, AConfigurationIsCopiedAsAWhole) {
  Server server;
  server.Commit("<top NS><b>b</b></top>");
  for (const Datastore target :
       {Datastore::kCandidate, Datastore::kStartup, Datastore::kRunning}) {
    EXPECT_TRUE(
        Succeeds(server->CopyConfig(kMine, InlineConfig{Xml(kOne)}, target)));
    EXPECT_EQ(server.In(target), "<top><a>1</a></top>");
  }
}

TEST(Datastores, ACopyOfOneWithOtherDefaultsIsOneOfIt) {
  Server server;
  server.Commit(kOne);
  EXPECT_TRUE(
      FailsWith(server->CopyConfig(kMine, InlineConfig{"", Datastore::kStartup},
                                   Datastore::kRunning),
                ErrorTag::kDataMissing, "no startup"));
  EXPECT_TRUE(
      FailsWith(server->CopyConfig(kMine, InlineConfig{"", Datastore::kRunning},
                                   Datastore::kRunning),
                ErrorTag::kInvalidValue, "running is source and target"));
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_TRUE(Succeeds(
      server->CopyConfig(kMine, InlineConfig{Xml(kTwo), Datastore::kRunning},
                         Datastore::kCandidate)));
  EXPECT_EQ(server.candidate(), "<top><a>2</a></top>");
}

TEST(Datastores, WhatIsNoConfigurationIsNotCopied) {
  Server server;
  for (const Datastore target :
       {Datastore::kCandidate, Datastore::kStartup, Datastore::kRunning}) {
    EXPECT_TRUE(
        FailsWith(server->CopyConfig(
                      kMine, InlineConfig{Xml("<top NS><x/></top>")}, target),
                  ErrorTag::kUnknownElement, ""));
    EXPECT_TRUE(FailsWith(
        server->CopyConfig(kMine, InlineConfig{Xml("<top NS NC:\"merge\"/>")},
                           target),
        ErrorTag::kUnknownAttribute, ""));
    EXPECT_EQ(server.In(target), "");
  }
}

TEST(Datastores, NothingIsCopiedToItself) {
  Server server;
  for (const Datastore same :
       {Datastore::kCandidate, Datastore::kStartup, Datastore::kRunning}) {
    EXPECT_TRUE(FailsWith(server->CopyConfig(kMine, same, same),
                          ErrorTag::kInvalidValue, "is source and target"));
  }
}

TEST(Datastores, AStartupThatIsNotThereIsNoSource) {
  Server server;
  EXPECT_TRUE(FailsWith(
      server->CopyConfig(kMine, Datastore::kStartup, Datastore::kRunning),
      ErrorTag::kDataMissing, "no startup"));
  EXPECT_TRUE(FailsWith(server->Validate(Datastore::kStartup),
                        ErrorTag::kDataMissing, "no startup"));
}

TEST(Datastores, StartupIsWhatTheModelAccepts) {
  Server server;
  EXPECT_TRUE(FailsWith(
      server->CopyConfig(kMine,
                         InlineConfig{Xml("<top NS><must>x</must></top>")},
                         Datastore::kStartup),
      ErrorTag::kOperationFailed, ""));
  EXPECT_FALSE(server.Has("startup.xml"));
}

TEST(Datastores, OnlyStartupIsDeleted) {
  Server server;
  server.Commit(kOne);
  EXPECT_TRUE(Succeeds(
      server->CopyConfig(kMine, Datastore::kRunning, Datastore::kStartup)));
  EXPECT_TRUE(Succeeds(server->DeleteConfig(kMine, Datastore::kStartup)));
  EXPECT_EQ(server.startup(), "");
  EXPECT_FALSE(server.Has("startup.xml"));
  EXPECT_TRUE(FailsWith(server->DeleteConfig(kMine, Datastore::kStartup),
                        ErrorTag::kDataMissing, ""));
  for (const Datastore other : {Datastore::kRunning, Datastore::kCandidate}) {
    EXPECT_TRUE(FailsWith(server->DeleteConfig(kMine, other),
                          ErrorTag::kOperationNotSupported, ""));
  }
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
}

TEST(Datastores, ValidateSaysOfTheCandidateWhatACommitWould) {
  Server server;
  EXPECT_TRUE(Succeeds(server->Validate(Datastore::kCandidate)));
  server.Edit(kBad);
  EXPECT_TRUE(FailsWith(server->Validate(Datastore::kCandidate),
                        ErrorTag::kOperationFailed, "refused for a reason."));
  EXPECT_EQ(server.running(), "");
}

TEST(Datastores, ValidateTakesAConfiguration) {
  Server server;
  EXPECT_TRUE(Succeeds(server->Validate(InlineConfig{Xml(kOne)})));
  EXPECT_TRUE(FailsWith(server->Validate(InlineConfig{Xml(kBad)}),
                        ErrorTag::kOperationFailed, "refused for a reason."));
  EXPECT_TRUE(FailsWith(server->Validate(InlineConfig{"<top"}),
                        ErrorTag::kInvalidValue, "no XML"));
  EXPECT_EQ(server.candidate(), "");
}

TEST(Datastores, ValidateSaysOfRunningWhatTheNextStartWould) {
  Server server;
  server.Commit(kOne);
  EXPECT_TRUE(Succeeds(server->Validate(Datastore::kRunning)));
  EXPECT_TRUE(Succeeds(
      server->CopyConfig(kMine, InlineConfig{Xml(kBad)}, Datastore::kStartup)));
  EXPECT_TRUE(FailsWith(server->Validate(Datastore::kStartup),
                        ErrorTag::kOperationFailed, "refused for a reason."));
}

// Locks.

TEST(Locks, KeepOthersFromChangingADatastore) {
  Server server;
  for (const Datastore datastore :
       {Datastore::kRunning, Datastore::kCandidate, Datastore::kStartup}) {
    EXPECT_TRUE(Succeeds(server->Lock(kMine, datastore)));
    EXPECT_EQ(server->LockOf(datastore)->session, kMine);
  }
  EditRequest running;
  running.target = Datastore::kRunning;
  EXPECT_TRUE(FailsWith(FirstOf(Edit(&server, kOne, {}, kOther)),
                        ErrorTag::kInUse, "candidate is locked by session 1"));
  EXPECT_TRUE(FailsWith(FirstOf(Edit(&server, kOne, running, kOther)),
                        ErrorTag::kInUse, "running is locked"));
  for (const Datastore target :
       {Datastore::kRunning, Datastore::kCandidate, Datastore::kStartup}) {
    EXPECT_TRUE(
        FailsWith(server->CopyConfig(kOther, InlineConfig{Xml(kOne)}, target),
                  ErrorTag::kInUse, "is locked by session 1"));
  }
  EXPECT_TRUE(FailsWith(server->DeleteConfig(kOther, Datastore::kStartup),
                        ErrorTag::kInUse, "startup is locked"));
  EXPECT_TRUE(FailsWith(server->DiscardChanges(kOther), ErrorTag::kInUse,
                        "candidate is locked"));
  EXPECT_TRUE(
      FailsWith(server->Commit(kOther), ErrorTag::kInUse, "running is locked"));
  server.Commit(kOne, kMine);  // its holder may
}

TEST(Locks, OfEitherDatastoreKeepOthersFromACommit) {
  for (const Datastore locked : {Datastore::kRunning, Datastore::kCandidate}) {
    for (const SessionId other : {kMine, kOther + 1}) {
      Server server;
      EXPECT_TRUE(Succeeds(server->Lock(kOther, locked)));
      EXPECT_TRUE(FailsWith(server->Commit(other), ErrorTag::kInUse,
                            "is locked by session 2"));
    }
  }
}

TEST(Locks, OfAnotherDatastoreAreNoHindrance) {
  Server server;
  EXPECT_TRUE(Succeeds(server->Lock(kMine, Datastore::kStartup)));
  server.Commit(kOne, kOther);
  EXPECT_TRUE(Succeeds(server->Lock(kMine, Datastore::kRunning)));
  server.Edit(kTwo, kOther);
}

TEST(Locks, AreDeniedWithTheSessionThatHasThem) {
  Server server;
  EXPECT_TRUE(Succeeds(server->Lock(kMine, Datastore::kRunning)));
  for (const SessionId session : {kMine, kOther}) {
    const Result error = server->Lock(session, Datastore::kRunning);
    EXPECT_TRUE(FailsWith(error, ErrorTag::kLockDenied, ""));
    EXPECT_EQ(error->type, ErrorType::kProtocol);
    EXPECT_EQ(InfoOf(error, "session-id"), "1");
  }
  EXPECT_TRUE(Succeeds(server->Unlock(kMine, Datastore::kRunning)));
  EXPECT_TRUE(Succeeds(server->Lock(kOther, Datastore::kRunning)));
}

TEST(Locks, OfAChangedCandidateAreDenied) {
  Server server;
  server.Edit(kOne);
  for (const SessionId session : {kMine, kOther}) {
    const Result error = server->Lock(session, Datastore::kCandidate);
    EXPECT_TRUE(FailsWith(error, ErrorTag::kLockDenied, "neither committed"));
    EXPECT_EQ(InfoOf(error, "session-id"), "0");
  }
  server.Edit("<top NS NC:\"delete\"/>");  // as it was
  EXPECT_TRUE(Succeeds(server->Lock(kOther, Datastore::kCandidate)));
}

TEST(Locks, OfTheCandidateTakeItsChangesWithThem) {
  Server server;
  EXPECT_TRUE(Succeeds(server->Lock(kMine, Datastore::kCandidate)));
  server.Edit(kOne);
  EXPECT_TRUE(Succeeds(server->Unlock(kMine, Datastore::kCandidate)));
  EXPECT_EQ(server.candidate(), "");
  EXPECT_FALSE(server.Has("candidate.xml"));
}

TEST(Locks, AreReleasedByTheirHolderOnly) {
  Server server;
  EXPECT_TRUE(FailsWith(server->Unlock(kMine, Datastore::kRunning),
                        ErrorTag::kOperationFailed, "is not locked"));
  EXPECT_TRUE(Succeeds(server->Lock(kMine, Datastore::kRunning)));
  EXPECT_TRUE(FailsWith(server->Unlock(kOther, Datastore::kRunning),
                        ErrorTag::kOperationFailed, "locked by session 1"));
  EXPECT_TRUE(server->LockOf(Datastore::kRunning).has_value());
}

TEST(Locks, EndWithTheirSession) {
  Server server;
  for (const Datastore datastore :
       {Datastore::kRunning, Datastore::kCandidate, Datastore::kStartup}) {
    EXPECT_TRUE(Succeeds(server->Lock(kMine, datastore)));
  }
  server.Edit(kOne);
  server->SessionEnded(kOther);
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
  server->SessionEnded(kMine);
  EXPECT_EQ(server.candidate(), "");
  for (const Datastore datastore :
       {Datastore::kRunning, Datastore::kCandidate, Datastore::kStartup}) {
    EXPECT_FALSE(server->LockOf(datastore).has_value());
  }
}

TEST(Locks, ThatNobodyHadLeaveTheCandidatesChangesToOthers) {
  Server server;
  server.Edit(kOne, kMine);
  server->SessionEnded(kMine);
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
}

// Confirmed commits.

CommitRequest Persistent(const std::string& persist) {
  CommitRequest request;
  request.persist = persist;
  return request;
}

CommitRequest WithId(const std::string& id, bool confirmed = false) {
  CommitRequest request;
  request.persist_id = id;
  request.confirmed = confirmed;
  return request;
}

TEST(ConfirmedCommit, StaysWhenItIsConfirmed) {
  Server server;
  server.Commit(kOne);
  server.CommitForNow(kTwo);
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
  EXPECT_TRUE(server->Deadline().has_value());
  EXPECT_TRUE(server.Has("rollback.xml"));
  EXPECT_TRUE(Succeeds(server->Commit(kMine)));
  EXPECT_FALSE(server->Deadline().has_value());
  EXPECT_FALSE(server.Has("rollback.xml"));
  server.Pass(seconds(10000));
  server->CheckTime();
  server->SessionEnded(kMine);
  server.Restart();
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
}

TEST(ConfirmedCommit, IsTakenBackWhenItsTimeIsOver) {
  Server server;
  server.Commit(kOne);
  static_cast<void>(server->TakeNotices());
  server.CommitForNow(kTwo);
  server.Pass(seconds(599));
  server->CheckTime();
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
  server.Pass(seconds(1));
  server->CheckTime();
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_EQ(NoticesOf(&server),
            "the confirmed commit is taken back: it was not confirmed in "
            "time\n");
  EXPECT_FALSE(server.Has("rollback.xml"));
  EXPECT_FALSE(server->Deadline().has_value());
  server.Restart();
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
}

TEST(ConfirmedCommit, HasTheTimeThatItsClientGives) {
  Server server;
  CommitRequest request;
  request.timeout = seconds(3);
  server.CommitForNow(kOne, request);
  server.Pass(seconds(3));
  server->CheckTime();
  EXPECT_EQ(server.running(), "");
  request.confirmed = true;
  request.timeout = seconds(0);
  EXPECT_TRUE(
      FailsWith(server->Commit(kMine, request), ErrorTag::kInvalidValue, ""));
}

TEST(ConfirmedCommit, IsFollowedUpWithMoreTimeAndTakenBackAsAWhole) {
  Server server;
  server.Commit(kOne);
  server.CommitForNow(kTwo);
  server.Pass(seconds(599));
  server.CommitForNow("<top NS><a>3</a></top>");
  server.Pass(seconds(599));
  server->CheckTime();
  EXPECT_EQ(server.running(), "<top><a>3</a></top>");
  server.Pass(seconds(1));
  server->CheckTime();
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
}

TEST(ConfirmedCommit, IsConfirmedWithFurtherChanges) {
  Server server;
  server.CommitForNow(kOne);
  server.Commit(kTwo);
  server.Restart();
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
}

TEST(ConfirmedCommit, IsNotConfirmedByARefusedCommit) {
  Server server;
  server.CommitForNow(kOne);
  server.Edit(kBad);
  EXPECT_TRUE(FailsWith(server->Commit(kMine), ErrorTag::kOperationFailed,
                        "refused for a reason."));
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_TRUE(server->Deadline().has_value());
}

TEST(ConfirmedCommit, IsCancelled) {
  Server server;
  server.Commit(kOne);
  server.CommitForNow(kTwo);
  EXPECT_TRUE(Succeeds(server->CancelCommit(kMine)));
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_FALSE(server->Deadline().has_value());
  EXPECT_TRUE(FailsWith(server->CancelCommit(kMine), ErrorTag::kOperationFailed,
                        "no confirmed commit"));
}

TEST(ConfirmedCommit, IsItsSessionsAlone) {
  Server server;
  server.CommitForNow(kOne);
  EXPECT_TRUE(FailsWith(server->Commit(kOther), ErrorTag::kInUse,
                        "confirmed commit of session 1"));
  EXPECT_TRUE(FailsWith(server->CancelCommit(kOther), ErrorTag::kInUse,
                        "confirmed commit of session 1"));
  EXPECT_TRUE(FailsWith(server->Commit(kOther, WithId("x")),
                        ErrorTag::kInvalidValue, "persist-id"));
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
}

TEST(ConfirmedCommit, EndsWithItsSession) {
  Server server;
  server.Commit(kOne);
  static_cast<void>(server->TakeNotices());
  server.CommitForNow(kTwo);
  server->SessionEnded(kOther);
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
  server->SessionEnded(kMine);
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_EQ(NoticesOf(&server),
            "the confirmed commit is taken back: session 1 ended\n");
}

TEST(ConfirmedCommit, OutlivesItsSessionWhenItIsPersistent) {
  Server server;
  server.CommitForNow(kOne, Persistent("id"));
  server->SessionEnded(kMine);
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  EXPECT_TRUE(FailsWith(server->Commit(kOther), ErrorTag::kInvalidValue,
                        "needs its persist-id"));
  EXPECT_TRUE(FailsWith(server->Commit(kOther, WithId("other")),
                        ErrorTag::kInvalidValue, "\"other\""));
  EXPECT_TRUE(Succeeds(server->Commit(kOther, WithId("id"))));
  EXPECT_FALSE(server->Deadline().has_value());
  EXPECT_EQ(server.running(), "<top><a>1</a></top>");
}

TEST(ConfirmedCommit, IsCancelledByItsPersistId) {
  Server server;
  server.CommitForNow(kOne, Persistent("id"));
  EXPECT_TRUE(FailsWith(server->CancelCommit(kMine), ErrorTag::kInvalidValue,
                        "needs its persist-id"));
  EXPECT_TRUE(FailsWith(server->CancelCommit(kOther, "other"),
                        ErrorTag::kInvalidValue, "\"other\""));
  EXPECT_TRUE(Succeeds(server->CancelCommit(kOther, "id")));
  EXPECT_EQ(server.running(), "");
}

TEST(ConfirmedCommit, StaysPersistentWhenItIsFollowedUp) {
  Server server;
  server.CommitForNow(kOne, Persistent("id"));
  server.Edit(kTwo);
  EXPECT_TRUE(Succeeds(server->Commit(kOther, WithId("id", true))));
  server->SessionEnded(kOther);
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
  EXPECT_TRUE(Succeeds(server->Commit(kMine, WithId("id"))));
}

TEST(ConfirmedCommit, ThatNobodyMadeHasNoPersistId) {
  Server server;
  EXPECT_TRUE(FailsWith(server->Commit(kMine, WithId("id")),
                        ErrorTag::kInvalidValue, "\"id\""));
  EXPECT_TRUE(FailsWith(server->CancelCommit(kMine, "id"),
                        ErrorTag::kInvalidValue, "\"id\""));
}

TEST(ConfirmedCommit, DeniesOthersTheLockOfRunning) {
  Server server;
  server.CommitForNow(kOne);
  const Result error = server->Lock(kOther, Datastore::kRunning);
  EXPECT_TRUE(FailsWith(error, ErrorTag::kLockDenied, "confirmed commit"));
  EXPECT_EQ(InfoOf(error, "session-id"), "1");
  EXPECT_TRUE(Succeeds(server->Lock(kMine, Datastore::kRunning)));
}

TEST(ConfirmedCommit, IsTakenBackByARestart) {
  for (const CommitRequest& request : {CommitRequest{}, Persistent("id")}) {
    Server server;
    server.Commit(kOne);
    static_cast<void>(server->TakeNotices());
    server.CommitForNow(kTwo, request);
    server.Restart();
    EXPECT_EQ(server.running(), "<top><a>1</a></top>");
    EXPECT_TRUE(Contains(NoticesOf(&server),
                         "running.xml: a confirmed commit was not confirmed"));
    EXPECT_FALSE(server.Has("rollback.xml"));
    server.Restart();
    EXPECT_EQ(server.running(), "<top><a>1</a></top>");
  }
}

TEST(ConfirmedCommit, ThatIsRefusedIsNone) {
  Server server;
  server.Edit(kBad);
  CommitRequest request;
  request.confirmed = true;
  EXPECT_TRUE(FailsWith(server->Commit(kMine, request),
                        ErrorTag::kOperationFailed, "refused for a reason."));
  EXPECT_FALSE(server->Deadline().has_value());
  EXPECT_FALSE(server.Has("rollback.xml"));
  EXPECT_EQ(server.running(), "");
}

// What a start finds.

class AtStart : public testing::Test {
 protected:
  std::string FileOf(const std::string& name) const {
    return server_.path() + "/" + name;
  }

  void Damage(const std::string& name) {
    const std::string file = FileOf(name);
    fs::resize_file(file, fs::file_size(file) - 2);
  }

  Server server_;
};

TEST_F(AtStart, ADamagedFileIsRefusedAndLeftAsItIs) {
  server_.Commit(kOne);
  EXPECT_TRUE(Succeeds(
      server_->CopyConfig(kMine, Datastore::kRunning, Datastore::kStartup)));
  server_.CommitForNow(kTwo);
  for (const char* name :
       {"running.xml", "startup.xml", "rollback.xml", "version"}) {
    const std::string file = FileOf(name);
    fs::copy_file(file, file + ".kept");
    Damage(name);
    const auto size = fs::file_size(file);
    const std::string error = StartErrorOf(&server_);
    EXPECT_TRUE(Contains(error, file + ": is damaged"));
    EXPECT_TRUE(Contains(error, "; put a copy of it back, or"));
    EXPECT_EQ(fs::file_size(file), size);
    fs::rename(file + ".kept", file);
  }
  server_.Start();
  EXPECT_EQ(server_.running(), "<top><a>1</a></top>");
}

TEST_F(AtStart, ADamagedCandidateIsGivenUpAndToldOf) {
  server_.Commit(kOne);
  server_.Edit(kTwo);
  server_.Stop();
  Damage("candidate.xml");
  server_.Start();
  EXPECT_EQ(server_.candidate(), "<top><a>1</a></top>");
  EXPECT_TRUE(Contains(NoticesOf(&server_), "the rest; it is given up"));
}

TEST_F(AtStart, AMissingRunningIsRefused) {
  server_.Commit(kOne);
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  EXPECT_EQ(StartErrorOf(&server_),
            FileOf("running.xml") +
                ": is missing; put it back, or put a configuration to start "
                "with in " +
                FileOf("startup.xml"));
  EXPECT_FALSE(fs::exists(FileOf("running.xml")));
}

TEST_F(AtStart, AMissingRunningIsMadeOfStartup) {
  server_.Commit(kOne);
  EXPECT_TRUE(Succeeds(
      server_->CopyConfig(kMine, Datastore::kRunning, Datastore::kStartup)));
  server_.Commit(kTwo);
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  server_.Start();
  EXPECT_EQ(server_.running(), "<top><a>1</a></top>");
  EXPECT_TRUE(Contains(NoticesOf(&server_), "it is startup.xml now"));
  server_.Restart();
  EXPECT_EQ(server_.running(), "<top><a>1</a></top>");
  EXPECT_EQ(NoticesOf(&server_), "");
}

TEST_F(AtStart, AStartupWrittenByHandIsTaken) {
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  std::ofstream(FileOf("startup.xml"))
      << Xml("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- mine -->\n"
             "<top NS>\n  <a>hand</a>\n</top>\n");
  server_.Start();
  EXPECT_EQ(server_.running(), "<top><a>hand</a></top>");
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  std::ofstream(FileOf("startup.xml"))
      << Xml("\xef\xbb\xbf<top NS><a>marked</a></top>");
  server_.Start();
  EXPECT_EQ(server_.running(), "<top><a>marked</a></top>");
}

TEST_F(AtStart, AStartupThatMayHaveLostItsContentEmptiesNothing) {
  server_.Commit(kOne);
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  for (const char* text : {"", "\n"}) {
    std::ofstream(FileOf("startup.xml")) << text;
    EXPECT_EQ(StartErrorOf(&server_),
              FileOf("startup.xml") +
                  ": is damaged: it is empty; put a copy of it back, or move "
                  "it away");
  }
  EXPECT_FALSE(fs::exists(FileOf("running.xml")));
}

TEST_F(AtStart, AStartupOfNothingIsTaken) {
  server_.Commit(kOne);
  EXPECT_TRUE(Succeeds(
      server_->CopyConfig(kMine, InlineConfig{}, Datastore::kStartup)));
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  server_.Start();
  EXPECT_EQ(server_.running(), "");
}

TEST_F(AtStart, AStartupThatIsNoConfigurationIsRefused) {
  server_.Stop();
  for (const char* text : {"<top", "{}", "<top xmlns=\"urn:m\"><x/></top>"}) {
    std::ofstream(FileOf("startup.xml")) << text;
    const std::string error = StartErrorOf(&server_);
    EXPECT_TRUE(Contains(error, "startup.xml: is refused: "));
    EXPECT_TRUE(Contains(error, "put a copy of it back, or move it away"));
  }
}

TEST_F(AtStart, ALaterFormatIsRefused) {
  server_.folder().Write("version", "2\n");
  EXPECT_TRUE(Contains(StartErrorOf(&server_), "is of a later ipav"));
}

TEST_F(AtStart, ARunningThatIsRefusedIsNotLoaded) {
  server_.folder().Write("running.xml", Xml(kBad));
  EXPECT_EQ(StartErrorOf(&server_),
            FileOf("running.xml") +
                ": is refused: refused for a reason. (refuse, at "
                "/m:top/refuse); put a copy of it back, or, to start with "
                "another configuration, move it away and put that in " +
                FileOf("startup.xml"));
}

TEST_F(AtStart, AStartupThatIsRefusedDoesNotBecomeRunning) {
  server_.folder().Write("startup.xml", Xml(kBad));
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  EXPECT_TRUE(Contains(StartErrorOf(&server_), "startup.xml: is refused: "));
  EXPECT_FALSE(fs::exists(FileOf("running.xml")));
}

TEST_F(AtStart, AWayBackThatIsRefusedIsNotTaken) {
  server_.Commit(kOne);
  server_.CommitForNow(kTwo);
  server_.folder().Write("rollback.xml", Xml(kBad));
  server_.Restart();
  EXPECT_EQ(server_.running(), "<top><a>2</a></top>");
  EXPECT_TRUE(Contains(NoticesOf(&server_), "rollback.xml: is refused"));
  EXPECT_FALSE(server_.Has("rollback.xml"));
}

TEST_F(AtStart, APluginThatIsNoneIsToldOf) {
  server_.UsePlugin("is-not-there");
  EXPECT_TRUE(Contains(StartErrorOf(&server_), "the plug-in failed"));
}

TEST_F(AtStart, APluginThatDiesIsToldOf) {
  server_.Commit(kOne);
  server_.UsePlugin("aborts_in_init");
  EXPECT_TRUE(Contains(StartErrorOf(&server_), "the plug-in failed"));
}

// The disk.

// Fails at its n-th call from now on, and at the next ones of so many.
class Failures : public ipav::store::FileCalls {
 public:
  int Open(const char* path, int flags, unsigned mode) override {
    return Fails() ? -1 : FileCalls::Open(path, flags, mode);
  }
  long Write(int fd, const void* bytes, std::size_t count) override {
    return Fails() ? -1 : FileCalls::Write(fd, bytes, count);
  }
  int Sync(int fd) override { return Fails() ? -1 : FileCalls::Sync(fd); }
  int Rename(const char* from, const char* to) override {
    return Fails() ? -1 : FileCalls::Rename(from, to);
  }
  int Unlink(const char* path) override {
    return Fails() ? -1 : FileCalls::Unlink(path);
  }

  void FailAt(int number, int times = 1) {
    first_ = calls_ + number;
    times_ = times;
  }
  bool has_failed() const { return calls_ > first_; }

 private:
  bool Fails() {
    const int number = calls_++;
    if (number < first_ || number >= first_ + times_) return false;
    errno = ENOSPC;
    return true;
  }

  int calls_ = 0;
  int first_ = 0;
  int times_ = 0;
};

// What a failing disk must not make different from what is told.
struct Deed {
  const char* name;
  std::function<void(Server*)> before;
  std::function<Result(Server*)> run;
};

std::vector<Deed> Deeds() {
  CommitRequest confirmed;
  confirmed.confirmed = true;
  const auto edit = [](Server* s) { s->Edit(kTwo); };
  const auto commit_for_now = [](Server* s) { s->CommitForNow(kTwo); };
  return {{"commit", edit, [](Server* s) { return (*s)->Commit(kMine); }},
          {"confirmed commit", edit,
           [=](Server* s) { return (*s)->Commit(kMine, confirmed); }},
          {"confirming commit", commit_for_now,
           [](Server* s) { return (*s)->Commit(kMine); }},
          {"cancel-commit", commit_for_now,
           [](Server* s) { return (*s)->CancelCommit(kMine); }},
          {"copy-config", edit,
           [](Server* s) {
             return (*s)->CopyConfig(kMine, Datastore::kCandidate,
                                     Datastore::kRunning);
           }},
          {"copy-config to startup", edit,
           [](Server* s) {
             return (*s)->CopyConfig(kMine, Datastore::kRunning,
                                     Datastore::kStartup);
           }},
          {"delete-config",
           [](Server* s) {
             EXPECT_TRUE(Succeeds((*s)->CopyConfig(kMine, Datastore::kRunning,
                                                   Datastore::kStartup)));
           },
           [](Server* s) {
             return (*s)->DeleteConfig(kMine, Datastore::kStartup);
           }}};
}

TEST(AFailingDisk, LeavesWhatWasToldToTheClient) {
  for (const Deed& deed : Deeds()) {
    int failures = 0;
    for (int number = 0;; ++number) {
      Failures calls;
      Server server("obeys_opaque", &calls);
      server.Commit(kOne);
      deed.before(&server);
      const std::string running = server.running();
      const std::string candidate = server.candidate();
      const std::string startup = server.startup();
      const bool waited = server->Deadline().has_value();
      calls.FailAt(number);
      const Result error = deed.run(&server);
      if (!calls.has_failed()) {
        EXPECT_TRUE(Succeeds(error)) << deed.name;
        break;
      }
      ++failures;
      const std::string where =
          std::string(deed.name) + ", call " + std::to_string(number);
      calls.FailAt(0, 0);
      if (error.has_value()) {
        EXPECT_TRUE(FailsWith(error, ErrorTag::kOperationFailed,
                              "No space left on device"))
            << where;
        EXPECT_EQ(server.running(), running) << where;
        EXPECT_EQ(server.candidate(), candidate) << where;
        EXPECT_EQ(server.startup(), startup) << where;
        EXPECT_EQ(server->Deadline().has_value(), waited) << where;
      }
      const bool waits = server->Deadline().has_value();
      const std::string told = server.running();
      const std::string told_startup = server.startup();
      server.Restart();
      EXPECT_EQ(server.startup(), told_startup) << where;
      EXPECT_EQ(server.running(), waits ? "<top><a>1</a></top>" : told)
          << where;
    }
    EXPECT_GE(failures, 2) << deed.name;
  }
}

TEST(AFailingDisk, LeavesNothingThatUndoesALaterOperation) {
  CommitRequest confirmed;
  confirmed.confirmed = true;
  for (int number = 0; number < 24; ++number) {
    Failures calls;
    Server server("obeys_opaque", &calls);
    server.Commit(kOne);
    server.Edit(kTwo);
    calls.FailAt(number / 2, number % 2 == 0 ? 1 : 100);
    const Result error = server->Commit(kMine, confirmed);
    calls.FailAt(0, 0);
    if (!error.has_value()) continue;
    if (number % 2 == 0) {
      EXPECT_FALSE(server.Has("rollback.xml"));
    }
    EXPECT_TRUE(Succeeds(
        server->CopyConfig(kMine, InlineConfig{Xml("<top NS><a>3</a></top>")},
                           Datastore::kRunning)));
    server.Restart();
    EXPECT_EQ(server.running(), "<top><a>3</a></top>") << "call " << number;
  }
}

TEST(AFailingDisk, DoesNotMakeAConfirmedCommitStay) {
  for (const int times : {1, 100}) {
    for (int number = 0;; ++number) {
      Failures calls;
      Server server("obeys_opaque", &calls);
      server.Commit(kOne);
      server.CommitForNow(kTwo);
      static_cast<void>(server->TakeNotices());
      server.Pass(seconds(600));
      calls.FailAt(number, times);
      server->CheckTime();
      if (!calls.has_failed()) {
        EXPECT_GE(number, 2);
        break;
      }
      const std::string where =
          "call " + std::to_string(number) + " of " + std::to_string(times);
      calls.FailAt(0, 0);
      EXPECT_EQ(server.running(), "<top><a>1</a></top>") << where;
      EXPECT_FALSE(server->Deadline().has_value()) << where;
      EXPECT_TRUE(Contains(NoticesOf(&server), "is taken back")) << where;
      server.Restart();
      EXPECT_EQ(server.running(), "<top><a>1</a></top>") << where;
    }
  }
}

TEST(AFailingDisk, ThatLetAConfirmedCommitEndLosesNoLaterOne) {
  for (int number = 0; number < 6; ++number) {
    Failures calls;
    Server server("obeys_opaque", &calls);
    server.Commit(kOne);
    server.CommitForNow(kTwo);
    server.Pass(seconds(600));
    calls.FailAt(number, 100);
    server->CheckTime();
    calls.FailAt(0, 0);
    server.Commit("<top NS><a>3</a></top>");
    server.Restart();
    EXPECT_EQ(server.running(), "<top><a>3</a></top>") << "call " << number;
  }
}

TEST(AFailingDisk, LeavesTheCandidateAsItWas) {
  Failures calls;
  Server server("obeys_opaque", &calls);
  server.Edit(kOne);
  calls.FailAt(1);
  EditRequest request;
  EXPECT_TRUE(FailsWith(FirstOf(Edit(&server, kTwo, request)),
                        ErrorTag::kOperationFailed, "No space left on device"));
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
  calls.FailAt(0);
  EXPECT_TRUE(FailsWith(server->DiscardChanges(kMine),
                        ErrorTag::kOperationFailed, "No space left on device"));
  EXPECT_EQ(server.candidate(), "<top><a>1</a></top>");
}

// A plug-in that fails.

TEST(AFailingPlugin, RefusesTheCommitAndLeavesTheServer) {
  Server server;
  server.Commit(kOne);
  for (const char* leaf : {"die", "throw", "silent"}) {
    server.Edit(std::string("<top NS><") + leaf + ">x</" + leaf + "></top>");
    EXPECT_TRUE(
        FailsWith(server->Commit(kMine), ErrorTag::kOperationFailed, ""));
    EXPECT_TRUE(Succeeds(server->DiscardChanges(kMine)));
  }
  server.Commit(kTwo);
  EXPECT_EQ(server.running(), "<top><a>2</a></top>");
}

TEST(AFailingPlugin, ThatHangsIsEndedInTime) {
  Server server("runs_wild");
  server.Edit("<top NS><hang>x</hang></top>");
  EXPECT_TRUE(FailsWith(server->Commit(kMine), ErrorTag::kOperationFailed,
                        "did not answer within 0.5 seconds"));
}

}  // namespace
