// ipav check --base, in a real repository.

#include <filesystem>
#include <utility>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

const std::string kGood = kBranch + "ra-timers-tuned.xml";
const std::string kBad = kBranch + "address-is-network.xml";
const std::string kRefused =
    "l3 printers ipv4 address 10.12.50.0/24 cannot be configured as network "
    "address.";

class BaseTest : public FolderTest {
 protected:
  void SetUp() override {
    FolderTest::SetUp();
    Copy(kRunning, "same/candidate.xml");
    Copy(kRunning, "changed/candidate.xml");
    Copy(kGood, "own/candidate.xml");
    Copy(kRunning, "own/running.xml");
    Copy(kCampus + "running.json", "converted.json");
    Copy(kRunning, "a b\nc.xml");
    Copy(kRunning, "gone/candidate.xml");
    Copy(kRunning, "gone/running.xml");
    Copy(kRunning, "gone.xml");
    In("git init -q -b main . && git add -A && " + Commit());
  }

  static std::string Commit() {
    return "git -c user.name=n -c user.email=e commit -qm m";
  }

  void Copy(const std::string& from, const fs::path& name) const {
    const fs::path file = folder_ / "devices" / name;
    fs::create_directories(file.parent_path());
    fs::copy(from, file, fs::copy_options::overwrite_existing);
  }

  // Runs commands in the repository.
  ProcessResult In(const std::string& commands) const {
    return Shell(
        "export PATH=" + fs::path(IPAV_PROGRAM).parent_path().string() +
        ":$PATH; cd " + folder_.string() + " && " + commands);
  }
};

TEST_F(BaseTest, JudgesWhatChangedAgainstTheRevision) {
  Copy(kBad, "changed/candidate.xml");
  // Also files that git diff does not look at; one is not checked out.
  In("git update-index --assume-unchanged devices/own/candidate.xml && git "
     "update-index --skip-worktree devices/changed/candidate.xml "
     "devices/same/candidate.xml && rm devices/same/candidate.xml");
  Copy(kRunning, "own/candidate.xml");
  Copy(kBad, "own/running.xml");  // does not count
  Copy(kGood, "a b\nc.xml");
  Copy(kGood, "new/candidate.xml");
  Copy(kBad, "new/running.xml");
  In("ipav convert devices/converted.json --output devices/converted.xml && "
     "rm -r devices/gone devices/gone.xml devices/converted.json");
  const ProcessResult result =
      In("ipav check --base HEAD --format json devices | grep -o "
         "'\"candidate\":[^}]*\"planned\":[0-9]*'");
  const std::string verdict =
      "\"verdict\":\"accepted\",\"findings\":[],"
      "\"validationCalls\":{\"planned\":";
  EXPECT_THAT(result.out,
              HasSubstr("\"candidate\":\"devices/a b\\nc.xml\",\"running\":"
                        "\"HEAD:devices/a b\\nc.xml\"," +
                        verdict + "12\n"));
  EXPECT_THAT(result.out,
              HasSubstr("\"candidate\":\"devices/converted.xml\",\"running\":"
                        "\"HEAD:devices/converted.json\"," +
                        verdict + "0\n"));
  EXPECT_THAT(result.out,
              HasSubstr("\"candidate\":\"devices/new/candidate.xml\"," +
                        verdict + "99\n"));
  EXPECT_THAT(result.out,
              HasSubstr("\"candidate\":\"devices/own/candidate.xml\","
                        "\"running\":\"HEAD:devices/own/running.xml\"," +
                        verdict + "0\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("devices/same")));
  EXPECT_EQ(result.err,
            "devices/gone.xml: deleted since HEAD\n"
            "devices/gone/candidate.xml: deleted since HEAD\n");
  const ProcessResult refused = In("cd devices && ipav check --base main .");
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.out,
              HasSubstr("./changed/candidate.xml: refused (1 of 3 validation "
                        "calls made)\n" +
                        kRefused));
  EXPECT_THAT(refused.out, EndsWith("\n5 devices: 4 accepted, 1 refused, 0 bad "
                                    "input, 0 failed\n"));
}

// A link has no text of its own, and its file may have changed anywhere.
TEST_F(BaseTest, ALinkIsAlwaysJudged) {
  Copy(kBad, "../bad.xml");
  In("ln -s ../bad.xml devices/link.xml && git add -A && " + Commit());
  const ProcessResult result = In("ipav check --base HEAD devices");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, StartsWith("devices/link.xml: refused "));
}

TEST_F(BaseTest, ARunningConfigurationThatWasDeletedCounts) {
  Copy(kRunning, "own/candidate.xml");
  const ProcessResult result =
      In("rm devices/own/running.xml && ipav check --base HEAD --format json "
         "devices");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out,
              HasSubstr("\"running\":\"HEAD:devices/own/running.xml\""));
}

TEST_F(BaseTest, NothingToJudgeIsAccepted) {
  const ProcessResult nothing = {
      0, "0 devices: 0 accepted, 0 refused, 0 bad input, 0 failed\n", ""};
  EXPECT_EQ(In("ipav check --base HEAD devices"), nothing);
  EXPECT_EQ(In("ipav check --base HEAD devices/same/candidate.xml"), nothing);
  const ProcessResult deleted =
      In("rm -r devices && ipav check --base HEAD devices devices/gone.xml");
  EXPECT_EQ(deleted.out, nothing.out);
  EXPECT_EQ(deleted.status, 0);
  EXPECT_EQ(CountOf(": deleted since HEAD\n", deleted.err), 7U);
}

TEST_F(BaseTest, HasTheErrorsOfGitAndOfFiles) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"ipav check --base none devices",
       "git: fatal: Not a valid object name none^{tree}\n"},
      {"ipav check --base HEAD:devices devices", "git: fatal: Not a valid "},
      {"ipav check --base HEAD /dev/null", "git: fatal: not a git repository"},
      {"ipav check --base=--help devices", "--base: not a revision (see "},
      {"ipav check --base '' devices", "--base: not a revision (see "},
      {"ipav check --base HEAD --running x devices",
       "--running excludes --base"},
      {"ipav check --base HEAD --output devices/gone.xml devices",
       "devices/gone.xml: would be replaced, and is needed as "},
      {"ipav check --base HEAD - < devices/gone.xml",
       "<stdin>: is not a file of a git repository\n"},
      {"PATH= $(which ipav) check --base HEAD devices",
       "git: No such file or directory\n"},
      {"mkdir empty && ipav check --base HEAD empty",
       "empty: holds no configuration\n"},
  };
  for (const auto& [command, error] : rows) {
    EXPECT_THAT(In(command), IsBadInput(error)) << command;
  }
  EXPECT_THAT(In("ipav check --base HEAD none.xml").out,
              HasSubstr("none.xml: No such file or directory\n"));
  // The file at the revision has the limit of every input.
  In("{ cat " + kRunning +
     "; head -c 1048576 /dev/zero | tr '\\0' ' '; } "
     "> devices/gone.xml && git add -A && " +
     Commit());
  Copy(kRunning, "gone.xml");
  EXPECT_THAT(In("ipav check --base HEAD --max-input-size 1 devices").out,
              HasSubstr("HEAD:devices/gone.xml: is larger than the limit of "
                        "1048576 bytes\n"));
}

// The hook of packaging/git, and what pre-commit.com would run.
TEST_F(BaseTest, HooksRefuseACommitThatARouterWouldRefuse) {
  In("ln -s " IPAV_ROOT "/packaging/git/pre-commit .git/hooks/pre-commit");
  const auto count = [&] { return In("git rev-list --count main").out; };
  // 1. The index counts, not the work tree.
  Copy(kBad, "same/candidate.xml");
  In("git add -A");
  Copy(kGood, "same/candidate.xml");
  const ProcessResult refused = In(Commit());
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.out + refused.err,
              HasSubstr("devices/same/candidate.xml: refused (1 of 3 "
                        "validation calls made)\n" +
                        kRefused));
  EXPECT_EQ(count(), "1\n");
  In("git add -A");
  Copy(kBad, "same/candidate.xml");
  EXPECT_EQ(In(Commit()).status, 0);
  EXPECT_EQ(count(), "2\n");
  // 2. Files of the command line, in a work tree of its own, from a folder.
  In("git worktree add -q -b other other");
  fs::copy(kBad, folder_ / "other/devices/changed/candidate.xml",
           fs::copy_options::overwrite_existing);
  EXPECT_EQ(
      In("cd other/devices/changed && " + Commit() + " candidate.xml").status,
      1);
  EXPECT_EQ(count(), "2\n");
  // 3. The first commit; another folder; a commit without devices.
  In("rm -rf .git/refs/heads/main other && git worktree prune && "
     "git config ipav.devices devices/own && git add -A");
  EXPECT_EQ(In(Commit()).status, 0);
  EXPECT_EQ(count(), "1\n");
  const ProcessResult text = In("echo > text && git add text && " + Commit());
  EXPECT_EQ(text, (ProcessResult{0, "", ""}));
  // A folder without devices is a mistake, unless the commit deletes them.
  In("git config ipav.devices none && echo >> text && git add -A");
  const ProcessResult none = In(Commit());
  EXPECT_EQ(none, (ProcessResult{1, "",
                                 "ipav: git has no file in none, the folder of "
                                 "ipav.devices\n"}));
  const ProcessResult deleted =
      In("git config ipav.devices devices/own && git rm -qr devices/own && " +
         Commit());
  EXPECT_EQ(deleted.status, 0);
  EXPECT_THAT(deleted.err,
              HasSubstr("devices/own/candidate.xml: deleted since HEAD\n"));
  // 4. A file beside the devices makes none of them judged. No files are left
  // when the hook is interrupted.
  In("git config diff.autoRefreshIndex false && git config --unset "
     "ipav.devices && git update-index --skip-worktree "
     "devices/same/candidate.xml && echo > devices/README && git add -A");
  EXPECT_THAT(In(Commit()).err, StartsWith("0 devices: "));
  const ProcessResult interrupted = In(
      "echo >> devices/README && git add -A && mkdir bin tmp && printf "
      "'#!/bin/sh\nls $TMPDIR | wc -l; kill -INT $PPID' > bin/ipav && chmod +x "
      "bin/ipav && PATH=$PWD/bin:$PATH TMPDIR=$PWD/tmp "
      ".git/hooks/pre-commit; ls tmp");
  EXPECT_EQ(interrupted, (ProcessResult{0, "1\n", ""}));
  // 5. The command of .pre-commit-hooks.yaml.
  const std::string hooks = ReadFile(IPAV_ROOT "/.pre-commit-hooks.yaml");
  EXPECT_THAT(hooks, HasSubstr("\n  entry: ipav check --base HEAD\n"
                               "  args: [devices]\n"
                               "  language: system\n"));
  EXPECT_THAT(hooks, HasSubstr("\n  pass_filenames: false\n"));
}

}  // namespace

}  // namespace ipav::testing
