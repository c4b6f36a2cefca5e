#include "ipavd/store/datastores.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tests/ipavd/store/store_fixtures.h"

namespace ipav::store {
namespace {

namespace fs = std::filesystem;

using host_test::Contains;
using std::chrono::seconds;

constexpr SessionId kMine = 1;
constexpr SessionId kOther = 2;
constexpr Datastore kRunning = Datastore::kRunning;
constexpr Datastore kCandidate = Datastore::kCandidate;
constexpr Datastore kStartup = Datastore::kStartup;
constexpr std::initializer_list<Datastore> kAll = {kRunning, kCandidate,
                                                   kStartup};
constexpr const char* kOne = "<top NS><a>1</a></top>";
constexpr const char* kTwo = "<top NS><a>2</a></top>";
constexpr const char* kThree = "<top NS><a>3</a></top>";
constexpr const char* kBad = "<top NS><refuse>x</refuse></top>";
// As they are printed.
constexpr const char* kHasOne = "<top><a>1</a></top>";
constexpr const char* kHasTwo = "<top><a>2</a></top>";
constexpr const char* kHasThree = "<top><a>3</a></top>";
constexpr const char* kRefused =
    "operation-failed /m:top/refuse: refused for a reason.";
constexpr const char* kNoSpace = "No space left on device";

EditRequest To(Datastore target, TestOption test = TestOption::kSet) {
  EditRequest request;
  request.target = target;
  request.test_option = test;
  return request;
}

InlineConfig Inline(const std::string& config) {
  return InlineConfig{Xml(config)};
}

CommitRequest Persistent(const std::string& persist) {
  CommitRequest request = Confirmed();
  request.persist = persist;
  return request;
}

CommitRequest WithId(const std::string& id, bool confirmed = false) {
  CommitRequest request;
  request.persist_id = id;
  request.confirmed = confirmed;
  return request;
}

class StoreTest : public ::testing::Test {
 protected:
  std::string Edit(const std::string& config, EditRequest request = {},
                   SessionId session = kMine) {
    request.config = Xml(config);
    return Text(server_->Edit(session, request));
  }

  std::string Copy(const Source& from, Datastore to,
                   SessionId session = kMine) {
    return Text(server_->CopyConfig(session, from, to));
  }

  std::string Commit(SessionId session, const CommitRequest& request = {}) {
    return Text(server_->Commit(session, request));
  }

  std::string Lock(SessionId session, Datastore datastore) {
    return Text(server_->Lock(session, datastore));
  }

  // Also: nothing waits for a confirmation.
  void ExpectForGood(const std::string& running) {
    EXPECT_EQ(server_.running(), running);
    EXPECT_FALSE(server_->Deadline().has_value());
    EXPECT_FALSE(server_.Has("rollback.xml"));
    server_.Restart();
    EXPECT_EQ(server_.running(), running);
  }

  Server server_;
};

// Edit, commit, discard.

using DatastoresTest = StoreTest;

TEST_F(DatastoresTest, BeginEmptyWithANotice) {
  for (const Datastore each : kAll) EXPECT_EQ(server_.In(each), "");
  EXPECT_EQ(
      server_.Notices(),
      server_.path() + "/running.xml: is new: nothing is configured yet\n");
  server_.Restart();
  EXPECT_EQ(server_.Notices(), "");
}

TEST_F(DatastoresTest, KeepAnEditInTheCandidateUntilItIsCommitted) {
  server_.Edit(kOne);
  EXPECT_EQ(server_.running(), "");
  EXPECT_EQ(server_.candidate(), kHasOne);
  EXPECT_EQ(Commit(kMine), "");
  for (int restarts = 0; restarts < 2; ++restarts) {
    EXPECT_EQ(server_.running(), kHasOne);
    EXPECT_EQ(server_.candidate(), kHasOne);
    server_.Restart();
  }
}

TEST_F(DatastoresTest, HaveTheirDefaultNodes) {
  server_.Edit(kOne);
  for (const Datastore datastore : {kCandidate, kRunning}) {
    lyd_node* leaf = nullptr;
    ASSERT_EQ(lyd_find_path(server_->Tree(datastore), "/m:top/c", 0, &leaf),
              LY_SUCCESS);
    EXPECT_NE(leaf->flags & LYD_DEFAULT, 0U);
  }
}

TEST_F(DatastoresTest, KeepAnEditThatIsNotCommittedOverARestart) {
  server_.Commit(kOne);
  server_.Edit(kTwo);
  server_.Restart();
  EXPECT_EQ(server_.running(), kHasOne);
  EXPECT_EQ(server_.candidate(), kHasTwo);
  EXPECT_EQ(Commit(kMine), "");
  EXPECT_FALSE(server_.Has("candidate.xml"));
}

TEST_F(DatastoresTest, DiscardChangesForGood) {
  server_.Commit(kOne);
  server_.Edit(kTwo);
  EXPECT_EQ(Text(server_->DiscardChanges(kOther)), "");
  EXPECT_EQ(server_.candidate(), kHasOne);
  server_.Restart();
  EXPECT_EQ(server_.candidate(), kHasOne);
}

TEST_F(DatastoresTest, DoNotChangeByARefusedCommitWhichCanBeCorrected) {
  server_.Commit(kOne);
  server_.Edit(kBad);
  EXPECT_EQ(Commit(kMine), kRefused);
  EXPECT_EQ(server_.running(), kHasOne);
  EXPECT_EQ(server_.candidate(), "<top><a>1</a><refuse>x</refuse></top>");
  server_.Commit("<top NS><refuse NC:\"delete\"/><b>1</b></top>");
  EXPECT_EQ(server_.running(), "<top><a>1</a><b>1</b></top>");
}

TEST_F(DatastoresTest, AcceptACommitOfNothing) { EXPECT_EQ(Commit(kMine), ""); }

TEST_F(DatastoresTest, DoNotChangeByAnEditWithAnError) {
  server_.Edit(kOne);
  for (const ErrorOption option :
       {ErrorOption::kStop, ErrorOption::kRollback}) {
    EditRequest request;
    request.error_option = option;
    EXPECT_EQ(Edit("<top NS><a>2</a><b NC:\"delete\"/></top>", request),
              "data-missing /m:top/b: cannot be deleted: it does not exist");
    EXPECT_EQ(server_.candidate(), kHasOne);
  }
}

TEST_F(DatastoresTest, TakeTheGoodPartsOfAnEditThatContinues) {
  EditRequest request;
  request.error_option = ErrorOption::kContinue;
  EXPECT_EQ(Edit("<top NS><a>2</a><b NC:\"delete\"/><c>x</c></top>", request),
            "data-missing /m:top/b: cannot be deleted: it does not exist\n"
            "invalid-value /m:top/c {bad-element=c}: Invalid type uint8 value "
            "\"x\".");
  EXPECT_EQ(server_.candidate(), kHasTwo);
}

TEST_F(DatastoresTest, ApplyTheDefaultOperationOfTheRequest) {
  server_.Edit("<top NS><a>1</a><b>1</b></top>");
  EditRequest request;
  request.default_operation = Operation::kReplace;
  EXPECT_EQ(Edit(kTwo, request), "");
  EXPECT_EQ(server_.candidate(), kHasTwo);
}

TEST_F(DatastoresTest, TestAnEditOfTheCandidateOnlyOnRequest) {
  for (const TestOption test :
       {TestOption::kTestThenSet, TestOption::kTestOnly}) {
    EXPECT_EQ(Edit(kBad, To(kCandidate, test)), kRefused);
    EXPECT_EQ(server_.candidate(), "");
  }
  EXPECT_EQ(Edit(kOne, To(kCandidate, TestOption::kTestOnly)), "");
  EXPECT_EQ(server_.candidate(), "");
  EXPECT_EQ(Edit(kOne, To(kCandidate, TestOption::kTestThenSet)), "");
  EXPECT_EQ(server_.candidate(), kHasOne);
  EXPECT_EQ(Edit(kBad), "");
  EXPECT_EQ(server_.candidate(), "<top><a>1</a><refuse>x</refuse></top>");
}

TEST_F(DatastoresTest, TestEveryEditOfRunning) {
  EXPECT_EQ(Edit(kOne, To(kRunning)), "");
  EXPECT_EQ(server_.running(), kHasOne);
  EXPECT_EQ(server_.candidate(), kHasOne);  // follows running
  for (const TestOption test :
       {TestOption::kSet, TestOption::kTestThenSet, TestOption::kTestOnly}) {
    EXPECT_EQ(Edit(kBad, To(kRunning, test)), kRefused);
  }
  EXPECT_EQ(Edit(kTwo, To(kRunning, TestOption::kTestOnly)), "");
  server_.Restart();
  EXPECT_EQ(server_.running(), kHasOne);
}

TEST_F(DatastoresTest, RefuseConfigurationsThatAreTooLarge) {
  const std::string large =
      "<top NS><a>" + std::string(100, 'x') + "</a></top>";
  server_.Commit(large);
  server_->set_max_size(100);
  const auto refused = [](const std::string& size) {
    return "resource-denied: the configuration would have " + size +
           " bytes, the limit is 100";
  };
  for (const Datastore target : {kRunning, kCandidate}) {
    EXPECT_EQ(Edit("<top NS><b>1</b></top>", To(target)), refused("148"));
  }
  EXPECT_EQ(Copy(Inline(large), kStartup), refused("137"));
  // One that is not larger than before is taken, and a rollback may be larger.
  for (const Datastore target : {kRunning, kCandidate}) {
    EXPECT_EQ(Copy(Inline(large), target), "");
  }
  EXPECT_EQ(Edit("<top NS><a>" + std::string(99, 'x') + "</a></top>"), "");
  EXPECT_EQ(Copy(Inline(large), kCandidate), refused("137"));
  EXPECT_EQ(Edit(kOne), "");
  EXPECT_EQ(Commit(kMine, Confirmed()), "");
  EXPECT_EQ(Text(server_->CancelCommit(kMine, {})), "");
  EXPECT_EQ(server_.running(),
            "<top><a>" + std::string(100, 'x') + "</a></top>");
}

TEST_F(DatastoresTest, RefuseAnEditOfStartup) {
  EXPECT_EQ(Edit(kOne, To(kStartup)),
            "operation-not-supported: startup is not edited, but copied to");
}

// copy-config, delete-config, validate.

TEST_F(DatastoresTest, AreCopiedToEachOther) {
  server_.Commit(kOne);
  server_.Edit(kTwo);
  EXPECT_EQ(Copy(kRunning, kStartup), "");
  EXPECT_EQ(server_.startup(), kHasOne);
  EXPECT_EQ(Copy(kCandidate, kRunning), "");
  EXPECT_EQ(server_.running(), kHasTwo);
  EXPECT_EQ(Copy(kStartup, kCandidate), "");
  EXPECT_EQ(server_.candidate(), kHasOne);
  server_.Restart();
  EXPECT_EQ(server_.running(), kHasTwo);
  EXPECT_EQ(server_.candidate(), kHasOne);
  EXPECT_EQ(server_.startup(), kHasOne);
}

TEST_F(DatastoresTest, DiscardChangesByACopyOfRunningToTheCandidate) {
  server_.Edit(kOne);
  EXPECT_EQ(Copy(kRunning, kCandidate), "");
  EXPECT_EQ(server_.candidate(), "");
  EXPECT_EQ(Lock(kMine, kCandidate), "");
}

TEST_F(DatastoresTest, AreReplacedByACopiedConfiguration) {
  server_.Commit("<top NS><b>b</b></top>");
  for (const Datastore target : kAll) {
    EXPECT_EQ(Copy(Inline(kOne), target), "");
    EXPECT_EQ(server_.In(target), kHasOne);
  }
}

TEST_F(DatastoresTest, TakeACopyWithOtherDefaultsForTheDatastoreItself) {
  server_.Commit(kOne);
  EXPECT_EQ(Copy(InlineConfig{"", kStartup}, kRunning),
            "data-missing: there is no startup configuration");
  EXPECT_EQ(Copy(InlineConfig{"", kRunning}, kRunning),
            "invalid-value: running is source and target");
  EXPECT_EQ(server_.running(), kHasOne);
  EXPECT_EQ(Copy(InlineConfig{Xml(kTwo), kRunning}, kCandidate), "");
  EXPECT_EQ(server_.candidate(), kHasTwo);
}

TEST_F(DatastoresTest, RefuseACopyOfSomethingElse) {
  for (const Datastore target : kAll) {
    EXPECT_EQ(Copy(Inline("<top NS><x/></top>"), target),
              "unknown-element /m:top {bad-element=x}: no configuration has "
              "\"x\" here");
    EXPECT_EQ(Copy(Inline("<top NS NC:\"merge\"/>"), target),
              "unknown-attribute /m:top {bad-attribute=operation} "
              "{bad-element=top}: there is no attribute \"operation\" here");
    EXPECT_EQ(Copy(target, target), std::string("invalid-value: ") +
                                        NameOf(target) +
                                        " is source and target");
    EXPECT_EQ(server_.In(target), "");
  }
}

TEST_F(DatastoresTest, HaveNoStartupAtFirst) {
  const char* error = "data-missing: there is no startup configuration";
  EXPECT_EQ(Copy(kStartup, kRunning), error);
  EXPECT_EQ(Text(server_->Validate(kStartup)), error);
  EXPECT_EQ(Text(server_->DeleteConfig(kMine, kStartup)), error);
}

TEST_F(DatastoresTest, RefuseAStartupThatTheModelRefuses) {
  EXPECT_EQ(
      Copy(Inline("<top NS><must>x</must></top>"), kStartup),
      "operation-failed /m:top/must: Must condition \"../a\" not satisfied.");
  EXPECT_FALSE(server_.Has("startup.xml"));
}

TEST_F(DatastoresTest, DeleteOnlyStartup) {
  server_.Commit(kOne);
  EXPECT_EQ(Copy(kRunning, kStartup), "");
  EXPECT_EQ(Text(server_->DeleteConfig(kMine, kStartup)), "");
  EXPECT_EQ(server_.startup(), "");
  EXPECT_FALSE(server_.Has("startup.xml"));
  for (const Datastore other : {kRunning, kCandidate}) {
    EXPECT_EQ(Text(server_->DeleteConfig(kMine, other)),
              std::string("operation-not-supported: ") + NameOf(other) +
                  " cannot be deleted");
  }
  EXPECT_EQ(server_.running(), kHasOne);
}

TEST_F(DatastoresTest, ValidateTheCandidateOrAConfigurationAsACommitDoes) {
  EXPECT_EQ(Text(server_->Validate(kCandidate)), "");
  EXPECT_EQ(Text(server_->Validate(Inline(kOne))), "");
  EXPECT_EQ(Text(server_->Validate(Inline(kBad))), kRefused);
  EXPECT_EQ(server_.candidate(), "");
  server_.Edit(kBad);
  EXPECT_EQ(Text(server_->Validate(kCandidate)), kRefused);
  EXPECT_EQ(server_.running(), "");
}

TEST_F(DatastoresTest, ValidateRunningAndStartupAsTheNextStartDoes) {
  server_.Commit(kOne);
  EXPECT_EQ(Text(server_->Validate(kRunning)), "");
  EXPECT_EQ(Copy(Inline(kBad), kStartup), "");
  EXPECT_EQ(Text(server_->Validate(kStartup)), kRefused);
}

// Locks.

using Locks = StoreTest;

TEST_F(Locks, KeepOthersFromChangingADatastore) {
  const auto locked = [](Datastore datastore) {
    return std::string("in-use: ") + NameOf(datastore) +
           " is locked by session 1";
  };
  for (const Datastore each : kAll) {
    EXPECT_EQ(Lock(kMine, each), "");
    EXPECT_EQ(server_->LockOf(each)->session, kMine);
    EXPECT_EQ(Copy(Inline(kOne), each, kOther), locked(each));
  }
  EXPECT_EQ(Edit(kOne, {}, kOther), locked(kCandidate));
  EXPECT_EQ(Edit(kOne, To(kRunning), kOther), locked(kRunning));
  EXPECT_EQ(Text(server_->DeleteConfig(kOther, kStartup)), locked(kStartup));
  EXPECT_EQ(Text(server_->DiscardChanges(kOther)), locked(kCandidate));
  EXPECT_EQ(Commit(kOther), locked(kRunning));
  server_.Commit(kOne);  // its holder may
}

TEST_F(Locks, OfEitherDatastoreKeepOthersFromACommit) {
  for (const Datastore locked : {kRunning, kCandidate}) {
    EXPECT_EQ(Lock(kOther, locked), "");
    for (const SessionId other : {kMine, kOther + 1}) {
      EXPECT_EQ(Commit(other), std::string("in-use: ") + NameOf(locked) +
                                   " is locked by session 2");
    }
    EXPECT_EQ(Text(server_->Unlock(kOther, locked)), "");
  }
}

TEST_F(Locks, OfAnotherDatastoreDoNotMatter) {
  EXPECT_EQ(Lock(kOther, kStartup), "");
  server_.Commit(kOne);
  EXPECT_EQ(Lock(kOther, kRunning), "");
  server_.Edit(kTwo);
}

TEST_F(Locks, AreDeniedWithTheirHolder) {
  EXPECT_EQ(Lock(kMine, kRunning), "");
  for (const SessionId session : {kMine, kOther}) {
    const Result error = server_->Lock(session, kRunning);
    EXPECT_EQ(Text(error),
              "lock-denied {session-id=1}: running is locked by session 1");
    EXPECT_EQ(error->type, ErrorType::kProtocol);
  }
  EXPECT_EQ(Text(server_->Unlock(kMine, kRunning)), "");
  EXPECT_EQ(Lock(kOther, kRunning), "");
}

TEST_F(Locks, OfAChangedCandidateAreDenied) {
  server_.Edit(kOne);
  for (const SessionId session : {kMine, kOther}) {
    EXPECT_EQ(Lock(session, kCandidate),
              "lock-denied {session-id=0}: candidate has changes that are "
              "neither committed nor discarded");
  }
  server_.Edit("<top NS NC:\"delete\"/>");  // as it was
  EXPECT_EQ(Lock(kOther, kCandidate), "");
}

TEST_F(Locks, OfTheCandidateTakeItsChangesWithThem) {
  EXPECT_EQ(Lock(kMine, kCandidate), "");
  server_.Edit(kOne);
  EXPECT_EQ(Text(server_->Unlock(kMine, kCandidate)), "");
  EXPECT_EQ(server_.candidate(), "");
  EXPECT_FALSE(server_.Has("candidate.xml"));
}

TEST_F(Locks, AreReleasedByTheirHolderOnly) {
  EXPECT_EQ(Text(server_->Unlock(kMine, kRunning)),
            "operation-failed: running is not locked");
  EXPECT_EQ(Lock(kMine, kRunning), "");
  EXPECT_EQ(Text(server_->Unlock(kOther, kRunning)),
            "operation-failed: running is locked by session 1");
  EXPECT_TRUE(server_->LockOf(kRunning).has_value());
}

TEST_F(Locks, EndWithTheirSession) {
  for (const Datastore each : kAll) EXPECT_EQ(Lock(kMine, each), "");
  server_.Edit(kOne);
  server_->SessionEnded(kOther);
  EXPECT_EQ(server_.candidate(), kHasOne);
  server_->SessionEnded(kMine);
  EXPECT_EQ(server_.candidate(), "");
  for (const Datastore each : kAll) {
    EXPECT_FALSE(server_->LockOf(each).has_value());
  }
}

TEST_F(Locks, AreNeededToDropTheCandidatesChangesWithTheSession) {
  server_.Edit(kOne);
  server_->SessionEnded(kMine);
  EXPECT_EQ(server_.candidate(), kHasOne);
}

// Confirmed commits.

using ConfirmedCommit = StoreTest;

TEST_F(ConfirmedCommit, StaysWhenItIsConfirmed) {
  server_.Commit(kOne);
  server_.Commit(kTwo, Confirmed());
  EXPECT_EQ(server_.running(), kHasTwo);
  EXPECT_TRUE(server_->Deadline().has_value());
  EXPECT_TRUE(server_.Has("rollback.xml"));
  EXPECT_EQ(Commit(kMine), "");
  server_.Pass(seconds(10000));
  server_->CheckTime();
  server_->SessionEnded(kMine);
  EXPECT_EQ(server_.running(), kHasTwo);
  // A later one is taken back to here.
  server_.Commit(kThree, Confirmed());
  EXPECT_EQ(Text(server_->CancelCommit(kMine)), "");
  ExpectForGood(kHasTwo);
}

TEST_F(ConfirmedCommit, IsTakenBackWhenItsTimeIsOver) {
  server_.Commit(kOne);
  server_.Notices();
  server_.Commit(kTwo, Confirmed());
  server_.Pass(seconds(599));
  server_->CheckTime();
  EXPECT_EQ(server_.running(), kHasTwo);
  server_.Pass(seconds(1));
  server_->CheckTime();
  EXPECT_EQ(server_.Notices(),
            "the confirmed commit is taken back: it was not confirmed in "
            "time\n");
  ExpectForGood(kHasOne);
}

TEST_F(ConfirmedCommit, TakesChangesOfOthersBackWithItAndWarnsOfIt) {
  server_.Commit(kOne);
  server_.Commit(kTwo, Confirmed());
  server_.Notices();
  EditRequest request;
  request.target = Datastore::kRunning;
  request.config = Xml(kThree);
  EXPECT_EQ(Text(server_->Edit(kOther, request)), "");
  EXPECT_EQ(server_.Notices(),
            "session 2 changed running, which is lost if the confirmed commit "
            "that waits is taken back\n");
  EXPECT_EQ(Text(server_->CancelCommit(kMine)), "");
  ExpectForGood(kHasOne);
  EXPECT_EQ(Text(server_->Edit(kOther, request)), "");
  EXPECT_EQ(server_.Notices(), "");
}

TEST_F(ConfirmedCommit, HasTheTimeThatItsClientGives) {
  server_.Commit(kOne, Confirmed(seconds(3)));
  server_.Pass(seconds(3));
  server_->CheckTime();
  EXPECT_EQ(server_.running(), "");
  EXPECT_EQ(Commit(kMine, Confirmed(seconds(0))),
            "invalid-value: a confirmed commit needs time to be confirmed");
}

TEST_F(ConfirmedCommit, IsFollowedUpWithMoreTimeAndTakenBackAsAWhole) {
  server_.Commit(kOne);
  server_.Commit(kTwo, Confirmed());
  server_.Pass(seconds(599));
  server_.Commit(kThree, Confirmed());
  server_.Pass(seconds(599));
  server_->CheckTime();
  EXPECT_EQ(server_.running(), kHasThree);
  server_.Pass(seconds(1));
  server_->CheckTime();
  EXPECT_EQ(server_.running(), kHasOne);
}

TEST_F(ConfirmedCommit, IsConfirmedWithFurtherChanges) {
  server_.Commit(kOne, Confirmed());
  server_.Commit(kTwo);
  ExpectForGood(kHasTwo);
}

TEST_F(ConfirmedCommit, IsNotConfirmedByARefusedCommit) {
  server_.Commit(kOne, Confirmed());
  server_.Edit(kBad);
  EXPECT_EQ(Commit(kMine), kRefused);
  EXPECT_EQ(server_.running(), kHasOne);
  EXPECT_TRUE(server_->Deadline().has_value());
}

TEST_F(ConfirmedCommit, IsCancelled) {
  server_.Commit(kOne);
  server_.Commit(kTwo, Confirmed());
  EXPECT_EQ(Text(server_->CancelCommit(kMine)), "");
  EXPECT_EQ(Text(server_->CancelCommit(kMine)),
            "operation-failed: no confirmed commit waits");
  ExpectForGood(kHasOne);
}

TEST_F(ConfirmedCommit, IsConfirmedAndCancelledByItsSessionOnly) {
  server_.Commit(kOne, Confirmed());
  const char* error = "in-use: a confirmed commit of session 1 waits";
  EXPECT_EQ(Commit(kOther), error);
  EXPECT_EQ(Text(server_->CancelCommit(kOther)), error);
  EXPECT_EQ(Commit(kOther, WithId("x")),
            "invalid-value: the confirmed commit that waits has no persist-id "
            "\"x\"");
  EXPECT_EQ(server_.running(), kHasOne);
}

TEST_F(ConfirmedCommit, EndsWithItsSession) {
  server_.Commit(kOne);
  server_.Notices();
  server_.Commit(kTwo, Confirmed());
  server_->SessionEnded(kOther);
  EXPECT_EQ(server_.running(), kHasTwo);
  server_->SessionEnded(kMine);
  EXPECT_EQ(server_.Notices(),
            "the confirmed commit is taken back: session 1 ended\n");
  ExpectForGood(kHasOne);
}

constexpr const char* kNeedsId =
    "invalid-value: a confirmed commit waits that needs its persist-id";
constexpr const char* kOtherId =
    "invalid-value: the confirmed commit that waits has no persist-id "
    "\"other\"";

TEST_F(ConfirmedCommit, OutlivesItsSessionWhenItIsPersistent) {
  server_.Commit(kOne, Persistent("id"));
  server_->SessionEnded(kMine);
  EXPECT_EQ(server_.running(), kHasOne);
  EXPECT_EQ(Commit(kOther), kNeedsId);
  EXPECT_EQ(Commit(kOther, WithId("other")), kOtherId);
  EXPECT_EQ(Commit(kOther, WithId("id")), "");
  ExpectForGood(kHasOne);
}

TEST_F(ConfirmedCommit, IsCancelledByItsPersistId) {
  server_.Commit(kOne, Persistent("id"));
  EXPECT_EQ(Text(server_->CancelCommit(kMine)), kNeedsId);
  EXPECT_EQ(Text(server_->CancelCommit(kOther, "other")), kOtherId);
  EXPECT_EQ(Text(server_->CancelCommit(kOther, "id")), "");
  EXPECT_EQ(server_.running(), "");
}

TEST_F(ConfirmedCommit, StaysPersistentWhenItIsFollowedUp) {
  server_.Commit(kOne, Persistent("id"));
  server_.Edit(kTwo);
  EXPECT_EQ(Commit(kOther, WithId("id", true)), "");
  server_->SessionEnded(kOther);
  EXPECT_EQ(server_.running(), kHasTwo);
  EXPECT_EQ(Commit(kMine, WithId("id")), "");
}

TEST_F(ConfirmedCommit, ThatNobodyMadeHasNoPersistId) {
  const char* error =
      "invalid-value: no confirmed commit waits for persist-id \"id\"";
  EXPECT_EQ(Commit(kMine, WithId("id")), error);
  EXPECT_EQ(Text(server_->CancelCommit(kMine, "id")), error);
}

TEST_F(ConfirmedCommit, DeniesOthersTheLockOfRunning) {
  server_.Commit(kOne, Confirmed());
  EXPECT_EQ(Lock(kOther, kRunning),
            "lock-denied {session-id=1}: a confirmed commit of another session "
            "waits");
  EXPECT_EQ(Lock(kMine, kRunning), "");
}

TEST_F(ConfirmedCommit, IsTakenBackByARestart) {
  server_.Commit(kOne);
  for (const CommitRequest& request : {Confirmed(), Persistent("id")}) {
    server_.Commit(kTwo, request);
    server_.Notices();
    server_.Restart();
    EXPECT_EQ(server_.Notices(),
              server_.path() +
                  "/running.xml: a confirmed commit was not confirmed before "
                  "the server ended, and is taken back\n");
    ExpectForGood(kHasOne);
  }
}

TEST_F(ConfirmedCommit, DoesNotBeginWhenItIsRefused) {
  server_.Edit(kBad);
  EXPECT_EQ(Commit(kMine, Confirmed()), kRefused);
  ExpectForGood("");
}

// What a start finds.

class AtStart : public StoreTest {
 protected:
  std::string FileOf(const std::string& name) const {
    return server_.path() + "/" + name;
  }

  // Stops the server and cuts off the end of a file.
  void Damage(const std::string& name) {
    server_.Stop();
    fs::resize_file(FileOf(name), fs::file_size(FileOf(name)) - 2);
  }

  // A folder whose startup.xml was written by hand, without running.xml.
  void WriteStartup(const std::string& text) {
    server_.Stop();
    fs::remove(FileOf("running.xml"));
    std::ofstream(FileOf("startup.xml")) << Xml(text);
  }

  std::string Refused(const std::string& name, const std::string& reason) {
    return FileOf(name) + ": is refused: " + reason;
  }
};

constexpr const char* kPutBack = "; put a copy of it back, or move it away";

TEST_F(AtStart, ADamagedFileIsRefusedAndLeftAsItIs) {
  server_.Commit(kOne);
  EXPECT_EQ(Copy(kRunning, kStartup), "");
  server_.Commit(kTwo, Confirmed());
  for (const char* name :
       {"running.xml", "startup.xml", "rollback.xml", "version"}) {
    const std::string file = FileOf(name);
    fs::copy_file(file, file + ".kept");
    Damage(name);
    const auto size = fs::file_size(file);
    const std::string error = server_.StartError();
    EXPECT_TRUE(Contains(error, file + ": is damaged"));
    EXPECT_TRUE(Contains(error, "; put a copy of it back, or"));
    EXPECT_EQ(fs::file_size(file), size);
    fs::rename(file + ".kept", file);
  }
  server_.Start();
  EXPECT_EQ(server_.running(), kHasOne);
}

TEST_F(AtStart, ADamagedCandidateIsGivenUpWithANotice) {
  server_.Commit(kOne);
  server_.Edit(kTwo);
  Damage("candidate.xml");
  server_.Start();
  EXPECT_EQ(server_.candidate(), kHasOne);
  EXPECT_TRUE(Contains(server_.Notices(), "the rest; it is given up"));
}

TEST_F(AtStart, AMissingRunningIsRefused) {
  server_.Commit(kOne);
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  EXPECT_EQ(server_.StartError(),
            FileOf("running.xml") +
                ": is missing; put it back, or put a configuration to start "
                "with in " +
                FileOf("startup.xml"));
  EXPECT_FALSE(fs::exists(FileOf("running.xml")));
}

TEST_F(AtStart, AMissingRunningIsMadeFromStartup) {
  server_.Commit(kOne);
  EXPECT_EQ(Copy(kRunning, kStartup), "");
  server_.Commit(kTwo);
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  server_.Start();
  EXPECT_EQ(server_.running(), kHasOne);
  EXPECT_EQ(server_.Notices(),
            FileOf("running.xml") + ": was not there; it is startup.xml now\n");
  server_.Restart();
  EXPECT_EQ(server_.running(), kHasOne);
  EXPECT_EQ(server_.Notices(), "");
}

TEST_F(AtStart, AStartupWrittenByHandIsTaken) {
  for (const std::string before :
       {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- mine -->\n",
        "\xef\xbb\xbf"}) {
    WriteStartup(before + "<top NS>\n  <a>1</a>\n</top>\n");
    server_.Start();
    EXPECT_EQ(server_.running(), kHasOne);
  }
}

TEST_F(AtStart, AStartupThatMayHaveLostItsContentEmptiesNothing) {
  server_.Commit(kOne);
  for (const char* text : {"", "\n"}) {
    WriteStartup(text);
    EXPECT_EQ(server_.StartError(),
              FileOf("startup.xml") + ": is damaged: it is empty" + kPutBack);
  }
  EXPECT_FALSE(fs::exists(FileOf("running.xml")));
}

TEST_F(AtStart, AnEmptyStartupOfTheServerIsTaken) {
  server_.Commit(kOne);
  EXPECT_EQ(Copy(InlineConfig{}, kStartup), "");
  server_.Stop();
  fs::remove(FileOf("running.xml"));
  server_.Start();
  EXPECT_EQ(server_.running(), "");
}

TEST_F(AtStart, AStartupThatIsNotAConfigurationIsRefused) {
  for (const char* text : {"<top", "{}", "<top NS><x/></top>"}) {
    WriteStartup(text);
    const std::string error = server_.StartError();
    EXPECT_TRUE(host_test::StartsWith(error, Refused("startup.xml", "")));
    EXPECT_TRUE(Contains(error, kPutBack));
  }
}

TEST_F(AtStart, ALaterFormatIsRefused) {
  server_.folder().Write("version", "2\n");
  EXPECT_EQ(
      server_.StartError(),
      FileOf("version") + ": is of a later ipav, which has another format");
}

constexpr const char* kReason =
    "refused for a reason. (refuse, at /m:top/refuse)";

TEST_F(AtStart, ARunningThatIsRefusedIsNotLoaded) {
  server_.folder().Write("running.xml", Xml(kBad));
  EXPECT_EQ(server_.StartError(),
            Refused("running.xml", kReason) +
                "; put a copy of it back, or, to start with another "
                "configuration, move it away and put that in " +
                FileOf("startup.xml"));
}

TEST_F(AtStart, AStartupThatIsRefusedDoesNotBecomeRunning) {
  WriteStartup(kBad);
  EXPECT_EQ(server_.StartError(), Refused("startup.xml", kReason) + kPutBack);
  EXPECT_FALSE(fs::exists(FileOf("running.xml")));
}

TEST_F(AtStart, ARollbackThatIsRefusedIsNotDone) {
  server_.Commit(kOne);
  server_.Commit(kTwo, Confirmed());
  server_.folder().Write("rollback.xml", Xml(kBad));
  server_.Restart();
  EXPECT_EQ(server_.Notices(),
            FileOf("rollback.xml") +
                ": is refused and given up, and the confirmed commit behind it "
                "stays: " +
                kReason + "\n");
  ExpectForGood(kHasTwo);
}

TEST_F(AtStart, APluginThatFailsRefusesAndLosesNothing) {
  server_.Commit(kOne);
  server_.Commit(kTwo, Confirmed());
  for (const auto& [plugin, reason] :
       {std::pair("is-not-there", "plugin.so: cannot open"),
        std::pair("aborts_in_init", "killed by signal: Aborted")}) {
    server_.UsePlugin(PluginFile(plugin));
    const std::string error = server_.StartError();
    const std::string begin =
        server_.path() + ": cannot be loaded: the plug-in failed: ";
    EXPECT_TRUE(host_test::StartsWith(error, begin)) << error;
    EXPECT_TRUE(host_test::Contains(error, reason)) << error;
    EXPECT_TRUE(host_test::Contains(
        error,
        "; its files are unchanged and need no repair: start again when the "
        "plug-in works"))
        << error;
  }
  server_.UsePlugin(PluginFile("obeys_opaque"));
  server_.Start();
  ExpectForGood(kHasOne);
}

// The disk.

// An operation that writes to the disk, on a server with kOne.
struct Deed {
  const char* name;
  std::function<void(Server*)> before;
  std::function<Result(Server*)> run;
};

std::vector<Deed> Deeds() {
  const auto edit = [](Server* s) { s->Edit(kTwo); };
  const auto commit_for_now = [](Server* s) { s->Commit(kTwo, Confirmed()); };
  const auto copy = [](Datastore from, Datastore to) {
    return [=](Server* s) { return (*s)->CopyConfig(kMine, from, to); };
  };
  return {{"commit", edit, [](Server* s) { return (*s)->Commit(kMine); }},
          {"confirmed commit", edit,
           [](Server* s) { return (*s)->Commit(kMine, Confirmed()); }},
          {"confirming commit", commit_for_now,
           [](Server* s) { return (*s)->Commit(kMine); }},
          {"cancel-commit", commit_for_now,
           [](Server* s) { return (*s)->CancelCommit(kMine); }},
          {"copy-config", edit, copy(kCandidate, kRunning)},
          {"copy-config to startup", edit, copy(kRunning, kStartup)},
          {"delete-config",
           [=](Server* s) { EXPECT_EQ(Text(copy(kRunning, kStartup)(s)), ""); },
           [](Server* s) { return (*s)->DeleteConfig(kMine, kStartup); }}};
}

std::vector<std::string> AllOf(const Server& server) {
  return {server.running(), server.candidate(), server.startup()};
}

TEST(AFailingDisk, LeavesWhatClientsAreTold) {
  for (const Deed& deed : Deeds()) {
    int failures = 0;
    for (int number = 0;; ++number) {
      SCOPED_TRACE(deed.name + (", call " + std::to_string(number)));
      Failures calls;
      Server server(&calls);
      server.Commit(kOne);
      deed.before(&server);
      const std::vector<std::string> before = AllOf(server);
      const bool waited = server->Deadline().has_value();
      calls.FailAt(number);
      const Result error = deed.run(&server);
      if (!calls.has_failed()) {
        EXPECT_EQ(Text(error), "");
        break;
      }
      ++failures;
      calls.Stop();
      if (error.has_value()) {
        EXPECT_TRUE(Contains(Text(error), kNoSpace));
        EXPECT_EQ(AllOf(server), before);
        EXPECT_EQ(server->Deadline().has_value(), waited);
      }
      const bool waits = server->Deadline().has_value();
      const std::string running = waits ? kHasOne : server.running();
      const std::string startup = server.startup();
      server.Restart();
      EXPECT_EQ(server.startup(), startup);
      EXPECT_EQ(server.running(), running);
    }
    EXPECT_GE(failures, 2) << deed.name;
  }
}

TEST(AKilledServer, LeavesTheOldConfigurationsOrTheNewOnes) {
  for (const Deed& deed : Deeds()) {
    std::vector<std::string> old;
    std::vector<std::string> found;
    int kills = 0;
    for (int status = SIGKILL; WIFSIGNALED(status); ++kills) {
      SCOPED_TRACE(deed.name + (", call " + std::to_string(kills)));
      Failures calls;
      Server server(&calls);
      server.Commit(kOne);
      deed.before(&server);
      status = InChild(
          [&] {
            calls.KillAt(kills);
            static_cast<void>(deed.run(&server));
          },
          &_Fork);
      server.Restart();
      const std::vector<std::string> last = std::exchange(found, AllOf(server));
      if (kills == 0) old = found;
      // From the old ones to the new ones once, and never back.
      if (found != last && kills > 0) {
        EXPECT_EQ(last, old);
      }
    }
    EXPECT_GE(kills, 3) << deed.name;
  }
}

TEST(AFailingDisk, LeavesNothingThatUndoesALaterOperation) {
  for (int number = 0; number < 24; ++number) {
    Failures calls;
    Server server(&calls);
    server.Commit(kOne);
    server.Edit(kTwo);
    calls.FailAt(number / 2, number % 2 == 0 ? 1 : 100);
    const Result error = server->Commit(kMine, Confirmed());
    calls.Stop();
    if (!error.has_value()) continue;
    if (number % 2 == 0) {
      EXPECT_FALSE(server.Has("rollback.xml"));
    }
    EXPECT_EQ(Text(server->CopyConfig(kMine, Inline(kThree), kRunning)), "");
    server.Restart();
    EXPECT_EQ(server.running(), kHasThree) << "call " << number;
  }
}

TEST(AFailingDisk, DoesNotMakeAConfirmedCommitStayOrUndoALaterOne) {
  for (const char* later : {"", kThree}) {
    for (const int times : {1, 100}) {
      for (int number = 0;; ++number) {
        SCOPED_TRACE(std::to_string(times) + " from " + std::to_string(number));
        Failures calls;
        Server server(&calls);
        server.Commit(kOne);
        server.Commit(kTwo, Confirmed());
        server.Notices();
        server.Pass(seconds(600));
        calls.FailAt(number, times);
        server->CheckTime();
        if (!calls.has_failed()) {
          EXPECT_GE(number, 2);
          break;
        }
        calls.Stop();
        EXPECT_EQ(server.running(), kHasOne);
        EXPECT_FALSE(server->Deadline().has_value());
        EXPECT_TRUE(Contains(server.Notices(), "is taken back"));
        server.Commit(later);
        server.Restart();
        EXPECT_EQ(server.running(), *later == '\0' ? kHasOne : kHasThree);
      }
    }
  }
}

TEST(AFailingDisk, LeavesTheCandidateAsItWas) {
  Failures calls;
  Server server(&calls);
  server.Edit(kOne);
  EditRequest request;
  request.config = Xml(kTwo);
  calls.FailAt(1);
  EXPECT_TRUE(Contains(Text(server->Edit(kMine, request)), kNoSpace));
  EXPECT_EQ(server.candidate(), kHasOne);
  calls.FailAt(0);
  EXPECT_TRUE(Contains(Text(server->DiscardChanges(kMine)), kNoSpace));
  EXPECT_EQ(server.candidate(), kHasOne);
}

}  // namespace
}  // namespace ipav::store
