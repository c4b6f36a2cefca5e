// Does at a call what no plug-in should do: the opaque text of the validation
// point says what. Where the environment names a file in IPAV_TEST_STARTED,
// that file exists from then on.
#include <confd_maapi.h>
#include <hostd/cdb_session.h>
#include <hostd/hostd.h>
#include <hostmw/fault.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>

#include "tests/host/plugins/entry_points.h"

namespace {

using Deed = int32_t (*)(confd_trans_ctx*);

void TellStarted() {
  const char* file = std::getenv("IPAV_TEST_STARTED");
  if (file != nullptr) std::ofstream(file) << "started";
}

// Deaf to all that can be ignored.
[[noreturn]] void Hang() {
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGALRM}) {
    std::signal(number, SIG_IGN);
  }
  TellStarted();
  for (;;) pause();
}

int32_t DoHang(confd_trans_ctx* /*tctx*/) { Hang(); }

int32_t Spin(confd_trans_ctx* /*tctx*/) {
  TellStarted();
  for (volatile unsigned turns = 0;; turns = turns + 1) {
  }
}

// A process of the child's own; with `leaves_group` one that no longer belongs
// to it by anything but its descent.
void Spawn(bool leaves_group) {
  const pid_t process = fork();
  if (process != 0) return;
  if (leaves_group) {
    setsid();
    if (fork() != 0) _exit(0);
  }
  for (;;) pause();
}

int32_t SpawnAndHang(confd_trans_ctx* /*tctx*/) {
  Spawn(false);
  Spawn(true);
  Hang();
}

int32_t SpawnAndReturn(confd_trans_ctx* /*tctx*/) {
  Spawn(false);
  Spawn(true);
  return CONFD_OK;
}

int32_t SpawnAndCrash(confd_trans_ctx* /*tctx*/) {
  Spawn(false);
  Spawn(true);
  std::abort();
}

int32_t ExitAtOnce(confd_trans_ctx* /*tctx*/) { _exit(0); }

// NOLINTNEXTLINE(misc-no-recursion): wanted
int Deeper(const volatile char* above) {
  if (*above != 0) return 0;  // never, but compilers cannot know
  volatile char here[4096];
  here[0] = *above;
  return Deeper(here) + here[0];
}

int32_t OverflowStack(confd_trans_ctx* /*tctx*/) {
  volatile char start = 0;
  return Deeper(&start);
}

int32_t LeaveOpen(confd_trans_ctx* tctx) {
  auto* host = static_cast<hostd_t*>(tctx->vcb_opaque);
  const int socket = hostd_maapi_socket_get(host);
  for (int i = 0; i < 2; ++i) {
    auto* cursor = new maapi_cursor;  // never destroyed
    static_cast<void>(
        maapi_init_cursor(socket, tctx->thandle, cursor, "/top/row"));
  }
  static_cast<void>(
      new HostdCdbSessionBase(hostd_instance_get(host), CDB_RUNNING, true));
  return CONFD_OK;
}

int32_t CloseAll(confd_trans_ctx* tctx) {
  auto* host = static_cast<hostd_t*>(tctx->vcb_opaque);
  const HostdCdbSessionBase cdb(hostd_instance_get(host), CDB_RUNNING, true);
  maapi_cursor cursor;
  static_cast<void>(maapi_init_cursor(hostd_maapi_socket_get(host),
                                      tctx->thandle, &cursor, "/top/row"));
  maapi_destroy_cursor(&cursor);
  maapi_destroy_cursor(&cursor);  // once more than needed
  return CONFD_OK;
}

int32_t Refuse(confd_trans_ctx* tctx, const std::string& text) {
  confd_trans_seterr(tctx, "%s", text.c_str());
  return CONFD_ERR;
}

int32_t RefuseAtLength(confd_trans_ctx* tctx) {
  return Refuse(tctx, std::string(1000000, 'x'));
}

int32_t RefuseInOddBytes(confd_trans_ctx* tctx) {
  return Refuse(
      tctx, "one\ntwo\r\n\n\ttab {} %s\x1b[31mred\x07\xff\xc3( \xed\xa0\x80");
}

int32_t Warn(confd_trans_ctx* tctx) {
  static_cast<void>(Refuse(tctx, "think again"));
  return CONFD_VALIDATION_WARN;
}

int32_t WarnSilently(confd_trans_ctx* /*tctx*/) {
  return CONFD_VALIDATION_WARN;
}

template <int32_t result>
int32_t Return(confd_trans_ctx* tctx) {
  static_cast<void>(Refuse(tctx, "a number of its own"));
  return result;
}

int32_t WriteForEver(confd_trans_ctx* /*tctx*/) {
  const std::string line(1 << 16, 'x');
  for (;;) std::puts(line.c_str());
}

int32_t ReportForEver(confd_trans_ctx* /*tctx*/) {
  const std::string message(1 << 16, 'x');
  for (;;) hostmw_gen_fault(0, "", "", 0, message.c_str());
}

int32_t ReadInput(confd_trans_ctx* tctx) {
  return std::getchar() == EOF ? CONFD_OK : Refuse(tctx, "read something");
}

int32_t CloseFiles(confd_trans_ctx* /*tctx*/) {
  for (int fd = 0; fd < 256; ++fd) close(fd);
  return CONFD_OK;
}

int32_t KillParent(confd_trans_ctx* /*tctx*/) {
  kill(getppid(), SIGKILL);
  Hang();
}

const std::map<std::string, Deed>& Deeds() {
  static const std::map<std::string, Deed> kDeeds = {
      {"hang", DoHang},
      {"spin", Spin},
      {"spawn-and-hang", SpawnAndHang},
      {"spawn-and-return", SpawnAndReturn},
      {"spawn-and-crash", SpawnAndCrash},
      {"_exit", ExitAtOnce},
      {"overflow-stack", OverflowStack},
      {"leave-open", LeaveOpen},
      {"close-all", CloseAll},
      {"refuse-at-length", RefuseAtLength},
      {"refuse-in-odd-bytes", RefuseInOddBytes},
      {"warn", Warn},
      {"warn-silently", WarnSilently},
      {"return-1", Return<1>},
      {"return--2", Return<-2>},
      {"write-for-ever", WriteForEver},
      {"report-for-ever", ReportForEver},
      {"read-input", ReadInput},
      {"close-files", CloseFiles},
      {"kill-parent", KillParent}};
  return kDeeds;
}

}  // namespace

int32_t lib_init(void** /*context*/) { return 0; }

int32_t get_validation_point(char* buffer, size_t size) {
  std::snprintf(buffer, size, "test_set");
  return 0;
}

int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* /*keypath*/,
                 confd_value_t* /*newval*/) {
  const auto deed = Deeds().find(tctx->validate_opaque);
  if (deed == Deeds().end()) return Refuse(tctx, "unknown opaque text");
  return deed->second(tctx);
}

int32_t lib_finish(void** /*context*/) { return 0; }
