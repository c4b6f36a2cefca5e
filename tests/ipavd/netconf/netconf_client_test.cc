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
#include <memory>
#include <string>
#include <thread>

namespace {

namespace fs = std::filesystem;

constexpr char kConfig[] =
    "<config xmlns=\"urn:vorplex:config\"><interface><l3 "
    "xmlns=\"urn:vorplex:ipapp\"><name>a</name><ipv4><address><ip>%s</ip>"
    "</address></ipv4></l3></interface></config>";

std::string ConfigOf(const std::string& address) {
  std::string text = kConfig;
  return text.replace(text.find("%s"), 2, address);
}

struct NodeDeleter {
  void operator()(lyd_node* node) const { lyd_free_all(node); }
};
using Nodes = std::unique_ptr<lyd_node, NodeDeleter>;

struct RpcDeleter {
  void operator()(nc_rpc* rpc) const { nc_rpc_free(rpc); }
};
using Rpc = std::unique_ptr<nc_rpc, RpcDeleter>;

std::string Print(const lyd_node* node) {
  char* text = nullptr;
  lyd_print_mem(&text, node, LYD_XML, LYD_PRINT_SHRINK);
  std::string printed = text == nullptr ? "" : text;
  std::free(text);  // NOLINT: it comes from malloc()
  return printed;
}

// A server in a folder of the test's own, and a client's session with it.
class NetconfClientTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string name = fs::temp_directory_path() / "ipav-client-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
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
    fs::remove_all(folder_);
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
    for (int i = 0; i < 1000 && session_ == nullptr; ++i) {
      if (fs::exists(socket)) {
        session_ = nc_connect_unix(socket.c_str(), nullptr);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }

  // The reply's content as XML.
  std::string Ask(nc_rpc* request) {
    const Rpc rpc(request);
    std::uint64_t id = 0;
    lyd_node* envelope = nullptr;
    lyd_node* operation = nullptr;
    EXPECT_EQ(nc_send_rpc(session_, request, 1000, &id), NC_MSG_RPC);
    EXPECT_EQ(
        nc_recv_reply(session_, request, id, 20000, &envelope, &operation),
        NC_MSG_REPLY);
    const Nodes reply(envelope);
    const Nodes data(operation);
    return Print(reply.get()) + Print(data.get());
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

  std::string Running() {
    return Ask(nc_rpc_getconfig(NC_DATASTORE_RUNNING, nullptr, NC_WD_UNKNOWN,
                                NC_PARAMTYPE_CONST));
  }

  fs::path folder_;
  pid_t server_ = -1;
  nc_session* session_ = nullptr;
};

bool IsOk(const std::string& reply) {
  return reply.find("<ok") != std::string::npos;
}

bool Has(const std::string& reply, const std::string& text) {
  return reply.find(text) != std::string::npos;
}

TEST_F(NetconfClientTest, LearnsTheModelFromTheServer) {
  const ly_ctx* context = nc_session_get_ctx(session_);
  EXPECT_NE(ly_ctx_get_module_implemented(context, "ipapp"), nullptr);
  EXPECT_NE(ly_ctx_get_module_implemented(context, "DC-RTM-MIB"), nullptr);
}

TEST_F(NetconfClientTest, SeesARefusalWithItsTextPathAndPoint) {
  ASSERT_TRUE(IsOk(Edit("10.0.0.0/24")));
  const std::string reply = Commit();
  EXPECT_TRUE(
      Has(reply,
          "<error-type>application</error-type>"
          "<error-tag>operation-failed</error-tag>"
          "<error-severity>error</error-severity>"
          "<error-app-tag>ipv4_addr_validation</error-app-tag>"
          "<error-path>/vorplex-config:config/interface/ipapp:l3</error-path>"))
      << reply;
  EXPECT_TRUE(Has(reply,
                  "l3 a ipv4 address 10.0.0.0/24 cannot be configured as "
                  "network address."))
      << reply;
  EXPECT_FALSE(Has(Running(), "10.0.0.0/24"));
}

TEST_F(NetconfClientTest, SeesWhatItCommitted) {
  ASSERT_TRUE(IsOk(Edit("10.0.0.1/24")));
  ASSERT_TRUE(IsOk(Commit()));
  EXPECT_TRUE(Has(Running(), "10.0.0.1/24"));
}

TEST_F(NetconfClientTest, LocksAndUnlocks) {
  EXPECT_TRUE(IsOk(Ask(nc_rpc_lock(NC_DATASTORE_CANDIDATE))));
  EXPECT_TRUE(Has(Ask(nc_rpc_lock(NC_DATASTORE_CANDIDATE)), "lock-denied"));
  EXPECT_TRUE(IsOk(Ask(nc_rpc_unlock(NC_DATASTORE_CANDIDATE))));
}

TEST_F(NetconfClientTest, SelectsByXPath) {
  ASSERT_TRUE(IsOk(Edit("10.0.0.1/24")));
  ASSERT_TRUE(IsOk(Commit()));
  const std::string reply = Ask(nc_rpc_getconfig(
      NC_DATASTORE_RUNNING, "/vorplex-config:config/interface/ipapp:l3/name",
      NC_WD_UNKNOWN, NC_PARAMTYPE_CONST));
  EXPECT_TRUE(Has(reply, "<name>a</name>")) << reply;
  EXPECT_FALSE(Has(reply, "10.0.0.1/24")) << reply;
}

}  // namespace
