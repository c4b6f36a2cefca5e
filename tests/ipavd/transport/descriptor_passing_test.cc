#include "ipavd/transport/descriptor_passing.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include "host/base/file_descriptor.h"

namespace ipav::transport {
namespace {

using base::FileDescriptor;

class DescriptorPassingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
    relay_ = FileDescriptor(ends[0]);
    server_ = FileDescriptor(ends[1]);
  }

  // Sends bytes with `count` descriptors.
  void Send(std::string bytes, std::size_t count) const {
    std::array<int, 2> descriptors{STDERR_FILENO, STDERR_FILENO};
    ASSERT_LE(count, descriptors.size());
    iovec part{bytes.data(), bytes.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(descriptors))>
        ancillary{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (count > 0) {
      message.msg_control = ancillary.data();
      message.msg_controllen = CMSG_SPACE(count * sizeof(int));
      cmsghdr* header = CMSG_FIRSTHDR(&message);
      header->cmsg_level = SOL_SOCKET;
      header->cmsg_type = SCM_RIGHTS;
      header->cmsg_len = CMSG_LEN(count * sizeof(int));
      std::memcpy(CMSG_DATA(header), descriptors.data(), count * sizeof(int));
    }
    ASSERT_GE(sendmsg(relay_.get(), &message, 0), 0);
  }

  static int OpenDescriptors() {
    int open = 0;
    for (int fd = 0; fd < 256; ++fd) {
      if (fcntl(fd, F_GETFD) >= 0) ++open;
    }
    return open;
  }

  FileDescriptor relay_;
  FileDescriptor server_;
};

TEST_F(DescriptorPassingTest, BringsItsTextsAndItsConnection) {
  std::array<int, 2> pipe_ends{};
  ASSERT_EQ(pipe(pipe_ends.data()), 0);
  const FileDescriptor reading(pipe_ends[0]);
  SendConnection(relay_.get(), {"netconf-ssh", "op", "127.0.0.1", "SHA256:x",
                                FileDescriptor(pipe_ends[1])});
  const auto passed = ReceiveConnection(server_.get());
  ASSERT_TRUE(passed.has_value());
  EXPECT_EQ(passed->transport, "netconf-ssh");
  EXPECT_EQ(passed->user, "op");
  EXPECT_EQ(passed->host, "127.0.0.1");
  EXPECT_EQ(passed->key, "SHA256:x");
  ASSERT_EQ(write(passed->connection.get(), "x", 1), 1);
  char byte = 0;
  EXPECT_EQ(read(reading.get(), &byte, 1), 1);
  EXPECT_EQ(byte, 'x');
}

TEST_F(DescriptorPassingTest, NamesTheProcessThatSendsIt) {
  AskForSenders(server_.get());
  const SocketPair mine = MakeSocketPair(SOCK_STREAM);
  const pid_t sender = fork();
  if (sender == 0) {
    SendConnection(relay_.get(),
                   {"unix", "", "", "", FileDescriptor(mine.theirs.get())});
    _exit(0);
  }
  ASSERT_EQ(waitpid(sender, nullptr, 0), sender);
  const auto passed = ReceiveConnection(server_.get());
  ASSERT_TRUE(passed.has_value());
  EXPECT_EQ(passed->relay, sender) << "and not this one, which made the pair";
}

TEST_F(DescriptorPassingTest, IsNoneUnlessFourTextsAndAConnectionCame) {
  const std::string texts("unix\0root\0\0\0", 12);
  const int before = OpenDescriptors();
  EXPECT_FALSE(ReceiveConnection(server_.get()).has_value());
  for (const auto& [bytes, count] :
       {std::pair(std::string(), 1U), std::pair(texts.substr(0, 11), 1U),
        std::pair(std::string(4000, 'x') + texts, 1U), std::pair(texts, 0U)}) {
    Send(bytes, count);
    EXPECT_FALSE(ReceiveConnection(server_.get()).has_value());
    EXPECT_EQ(OpenDescriptors(), before);
  }
}

TEST_F(DescriptorPassingTest, IgnoresAFifthTextAndClosesASecondConnection) {
  const int before = OpenDescriptors();
  Send(std::string("unix\0root\0host\0key\0more\0", 24), 2);
  {
    const auto passed = ReceiveConnection(server_.get());
    ASSERT_TRUE(passed.has_value());
    EXPECT_EQ(passed->host, "host");
    EXPECT_EQ(OpenDescriptors(), before + 1);
  }
  EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
}  // namespace ipav::transport
