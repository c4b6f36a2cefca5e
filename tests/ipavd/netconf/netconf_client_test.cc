// The server as a client of the NETCONF library meets it, over the UNIX socket.
#include <gtest/gtest.h>
#include <libyang/libyang.h>
#include <nc_client.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "host/base/c_ptr.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

// What a busy machine may take for a start, or for an answer.
constexpr std::chrono::milliseconds kPatience{120000};

std::string ConfigOf(const std::string& address) {
  return "<config xmlns=\"urn:vorplex:config\"><interface><l3 "
         "xmlns=\"urn:vorplex:ipapp\"><name>a</name><ipv4><address><ip>" +
         address + "</ip></address></ipv4></l3></interface></config>";
}

std::string Print(const lyd_node* node) {
  char* text = nullptr;
  lyd_print_mem(&text, node, LYD_XML, LYD_PRINT_SHRINK);
  const ipav::base::CText owner(text);
  return text == nullptr ? "" : text;
}

// A server in a folder of the test's own, and a client's session with it.
class NetconfClientTest : public ipav::testing::FolderTest {
 protected:
  void SetUp() override {
    nc_client_init();
    // A copy: what the client fetches, it puts beside them.
    const fs::path modules = folder_ / "yang";
    fs::copy(IPAV_NETCONF_YANG, modules);
    nc_client_set_schema_searchpath(modules.c_str());
    StartServer();
    Connect();
    ASSERT_NE(session_, nullptr);
  }

  void TearDown() override {
    nc_session_free(session_, nullptr);
    kill(server_, SIGTERM);
    int status = 0;
    waitpid(server_, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    nc_client_destroy();
  }

  void StartServer() {
    const std::string state = folder_ / "state";
    server_ = fork();
    if (server_ == 0) {
      execl(IPAVD_PROGRAM, IPAVD_PROGRAM, "--state", state.c_str(),
            static_cast<char*>(nullptr));
      _exit(EXIT_FAILURE);
    }
  }

  // As soon as somebody listens.
  void Connect() {
    const std::string socket = folder_ / "state/netconf.sock";
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (session_ == nullptr && std::chrono::steady_clock::now() < end) {
      if (fs::exists(socket)) {
        session_ = nc_connect_unix(socket.c_str(), nullptr);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }

  // The reply's content as XML.
  std::string Ask(nc_rpc* request) {
    const ipav::base::CPtr<nc_rpc, nc_rpc_free> rpc(request);
    std::uint64_t id = 0;
    lyd_node* envelope = nullptr;
    lyd_node* operation = nullptr;
    const auto patience = static_cast<int>(kPatience.count());
    EXPECT_EQ(nc_send_rpc(session_, request, patience, &id), NC_MSG_RPC);
    EXPECT_EQ(
        nc_recv_reply(session_, request, id, patience, &envelope, &operation),
        NC_MSG_REPLY);
    const ipav::base::CPtr<lyd_node, lyd_free_all> reply(envelope);
    const ipav::base::CPtr<lyd_node, lyd_free_all> data(operation);
    return Print(envelope) + Print(operation);
  }

  std::string Edit(const std::string& address) {
    return Ask(nc_rpc_edit(NC_DATASTORE_CANDIDATE, NC_RPC_EDIT_DFLTOP_UNKNOWN,
                           NC_RPC_EDIT_TESTOPT_UNKNOWN,
                           NC_RPC_EDIT_ERROPT_UNKNOWN,
                           ConfigOf(address).c_str(), NC_PARAMTYPE_CONST));
  }

  std::string Commit() {
    return Ask(nc_rpc_commit(0, 0, nullptr, nullptr, NC_PARAMTYPE_CONST));
  }

  std::string Running(const char* xpath = nullptr) {
    return Ask(nc_rpc_getconfig(NC_DATASTORE_RUNNING, xpath, NC_WD_UNKNOWN,
                                NC_PARAMTYPE_CONST));
  }

  pid_t server_ = -1;
  nc_session* session_ = nullptr;
};

testing::AssertionResult Has(const std::string& reply,
                             const std::string& text) {
  if (reply.find(text) != std::string::npos) {
    return testing::AssertionSuccess() << reply;
  }
  return testing::AssertionFailure() << reply;
}

TEST_F(NetconfClientTest, LearnsTheModelFromTheServer) {
  const ly_ctx* context = nc_session_get_ctx(session_);
  EXPECT_NE(ly_ctx_get_module_implemented(context, "ipapp"), nullptr);
  EXPECT_NE(ly_ctx_get_module_implemented(context, "DC-RTM-MIB"), nullptr);
}

TEST_F(NetconfClientTest, SeesARefusalWithItsTextPathAndPoint) {
  EXPECT_TRUE(Has(Edit("10.0.0.0/24"), "<ok"));
  const std::string reply = Commit();
  EXPECT_TRUE(Has(
      reply,
      "<error-type>application</error-type>"
      "<error-tag>operation-failed</error-tag>"
      "<error-severity>error</error-severity>"
      "<error-app-tag>ipv4_addr_validation</error-app-tag>"
      "<error-path>/vorplex-config:config/interface/ipapp:l3</error-path>"));
  EXPECT_TRUE(Has(reply,
                  "l3 a ipv4 address 10.0.0.0/24 cannot be configured as "
                  "network address."));
  EXPECT_FALSE(Has(Running(), "10.0.0.0/24"));
}

TEST_F(NetconfClientTest, SeesAndSelectsWhatItCommitted) {
  EXPECT_TRUE(Has(Edit("10.0.0.1/24"), "<ok"));
  EXPECT_TRUE(Has(Commit(), "<ok"));
  EXPECT_TRUE(Has(Running(), "10.0.0.1/24"));
  const std::string selected =
      Running("/vorplex-config:config/interface/ipapp:l3/name");
  EXPECT_TRUE(Has(selected, "<name>a</name>"));
  EXPECT_FALSE(Has(selected, "10.0.0.1/24"));
}

TEST_F(NetconfClientTest, LocksAndUnlocks) {
  const auto lock = [this] { return Ask(nc_rpc_lock(NC_DATASTORE_CANDIDATE)); };
  EXPECT_TRUE(Has(lock(), "<ok"));
  EXPECT_TRUE(Has(lock(), "lock-denied"));
  EXPECT_TRUE(Has(Ask(nc_rpc_unlock(NC_DATASTORE_CANDIDATE)), "<ok"));
}

}  // namespace
