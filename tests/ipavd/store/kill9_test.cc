// A server that commits one thing after another is killed at random moments;
// the next one finds the configuration before the commit or behind it, whole.
//
// IPAV_KILLS is the number of kills, IPAV_SEED makes the moments others.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "host/datastore/data_tree.h"
#include "ipavd/store/datastores.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::ProjectModel;
using host_test::TempDir;
using ipav::store::CommitGate;
using ipav::store::CommitRequest;
using ipav::store::Datastore;
using ipav::store::Datastores;
using ipav::store::EditRequest;
using ipav::store::Result;
using ipav::store::StateFolder;

constexpr int kInterfaces = 60;

int Setting(const char* name, int by_default) {
  const char* text = std::getenv(name);
  return text == nullptr ? by_default : std::stoi(text);
}

// Every interface has the number in its description.
std::string ConfigurationOf(int number) {
  std::string xml = "<config xmlns=\"urn:vorplex:config\"><interface>";
  for (int i = 0; i < kInterfaces; ++i) {
    xml += "<l3 xmlns=\"urn:vorplex:ipapp\"><name>if" + std::to_string(i) +
           "</name><description>" + std::to_string(number) +
           "</description></l3>";
  }
  return xml + "</interface></config>";
}

// The number that a configuration has; -1 where it is not whole.
int NumberOf(const lyd_node* nodes) {
  ly_set* found = nullptr;
  if (lyd_find_xpath(nodes,
                     "/vorplex-config:config/interface/ipapp:l3/"
                     "description",
                     &found) != LY_SUCCESS) {
    return -1;
  }
  std::set<std::string> numbers;
  for (std::uint32_t i = 0; i < found->count; ++i) {
    numbers.insert(lyd_get_value(found->dnodes[i]));
  }
  const bool is_whole = found->count == kInterfaces && numbers.size() == 1;
  ly_set_free(found, nullptr);
  return is_whole ? std::stoi(*numbers.begin()) : -1;
}

CommitGate Gate() {
  return {ProjectModel(), {IPAV_PLUGIN, std::chrono::seconds(60)}};
}

void Say(int out, char what, int number) {
  const std::string line = what + std::to_string(number) + "\n";
  if (write(out, line.data(), line.size()) < 0) _exit(2);
}

// The whole life of a server: commits one number after another, and says of
// each when it is begun (b) and when it is done (d).
[[noreturn]] void Serve(const std::string& path, int next, int out) {
  try {
    StateFolder folder(path);
    Datastores datastores(Gate(), &folder);
    Say(out, 'r', 0);
    for (;; ++next) {
      EditRequest request;
      request.config = ConfigurationOf(next);
      Say(out, 'b', next);
      if (!datastores.Edit(1, request).empty()) _exit(3);
      // Now and then in two steps, and by another door.
      if (next % 5 == 0) {
        CommitRequest confirmed;
        confirmed.confirmed = true;
        if (datastores.Commit(1, confirmed).has_value()) _exit(4);
      }
      const Result error = next % 7 == 0
                               ? datastores.CopyConfig(1, Datastore::kCandidate,
                                                       Datastore::kRunning)
                               : datastores.Commit(1);
      if (error.has_value()) _exit(5);
      // A copy confirms nothing.
      if (next % 35 == 0 && datastores.Commit(1).has_value()) _exit(6);
      Say(out, 'd', next);
    }
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
    _exit(7);
  }
}

// What a server said before it was killed.
struct Said {
  int begun = -1;
  int done = -1;
};

class Victim {
 public:
  Victim(const std::string& path, int next) {
    std::array<int, 2> fds{};
    EXPECT_EQ(pipe(fds.data()), 0);
    pid_ = fork();
    if (pid_ == 0) {
      close(fds[0]);
      Serve(path, next, fds[1]);
    }
    close(fds[1]);
    in_ = fds[0];
  }

  // Lets it live for that time behind its first word, and kills it. What it
  // said before is in `said`.
  testing::AssertionResult LiveFor(std::chrono::microseconds time, Said* said) {
    if (!WaitForReady()) {
      return testing::AssertionFailure() << "it does not start";
    }
    std::this_thread::sleep_for(time);
    kill(pid_, SIGKILL);
    int status = 0;
    waitpid(pid_, &status, 0);
    ReadRest(said);
    close(in_);
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) {
      return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "it ended with status " << status;
  }

 private:
  bool WaitForReady() {
    pollfd entry = {in_, POLLIN, 0};
    constexpr int kPatience = 60000;
    while (text_.find("r0\n") == std::string::npos) {
      if (poll(&entry, 1, kPatience) <= 0 || !ReadSome()) return false;
    }
    return true;
  }

  bool ReadSome() {
    std::array<char, 4096> bytes{};
    const ssize_t count = read(in_, bytes.data(), bytes.size());
    if (count > 0) text_.append(bytes.data(), static_cast<std::size_t>(count));
    return count > 0;
  }

  void ReadRest(Said* said) {
    while (ReadSome()) {
    }
    std::size_t at = 0;
    for (std::size_t end = 0; (end = text_.find('\n', at)) != std::string::npos;
         at = end + 1) {
      const int number = std::stoi(text_.substr(at + 1));
      if (text_[at] == 'b') said->begun = number;
      if (text_[at] == 'd') said->done = number;
    }
  }

  pid_t pid_ = -1;
  int in_ = -1;
  std::string text_;
};

TEST(Kill9, LeavesTheOldConfigurationOrTheNewOne) {
  const int kills = Setting("IPAV_KILLS", 60);
  std::mt19937 random(static_cast<unsigned>(Setting("IPAV_SEED", 1)));
  const TempDir dir;
  const std::string path = dir.path() + "/state";
  int old = 0;
  int renewed = 0;
  int between = 0;
  int commits = 0;
  int number = 0;  // that running must have; 0: none yet
  for (int round = 0; round < kills; ++round) {
    // 1. A life, and its end.
    Victim victim(path, number + 1);
    Said said;
    const std::chrono::microseconds time(random() % 120000);
    ASSERT_TRUE(victim.LiveFor(time, &said)) << "round " << round;
    const int before = said.done < 0 ? number : said.done;
    commits += before - number;

    // 2. What is left of it.
    StateFolder folder(path);
    const Datastores datastores(Gate(), &folder);
    const lyd_node* nodes = datastores.Tree(Datastore::kRunning);
    const int found = before == 0 && said.begun <= 1 && NumberOf(nodes) == -1 &&
                              ipav::store::TextOf(nodes).empty()
                          ? 0
                          : NumberOf(nodes);
    ASSERT_TRUE(found == before || (found == said.begun && found > before))
        << "round " << round << ": " << found << " instead of " << before
        << " or " << said.begun;
    if (said.begun > before) ++(found == before ? old : renewed);
    if (said.begun <= before) ++between;
    number = found;
  }
  std::printf(
      "%d kills among %d commits: %d left the old configuration, %d the new "
      "one, %d hit no commit\n",
      kills, commits, old, renewed, between);
  EXPECT_EQ(old + renewed + between, kills);
  if (kills >= 50) {
    EXPECT_GT(old, 0) << "no kill came early in a commit";
    EXPECT_GT(commits, 0);
  }
  // The plug-in takes most of a commit, under a sanitizer nearly all of it.
  if (kills >= 500) {
    EXPECT_GT(renewed + between, 0) << "every kill came early";
  }
}

}  // namespace
