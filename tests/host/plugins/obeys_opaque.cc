// Does with a call what the opaque text of its validation point says, also what
// no plug-in should do. If the environment names a file in IPAV_TEST_STARTED, a
// call that never ends creates it.
#undef NDEBUG
#include <confd_lib.h>
#include <confd_maapi.h>
#include <hostd/cdb_session.h>
#include <hostd/hostd.h>
#include <hostmw/fault.h>
#include <hostmw/vlog.h>
#include <sys/types.h>
#include <unistd.h>

#include <cassert>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>

#include "tests/host/plugins/entry_points.h"

namespace {

struct Call {
  confd_trans_ctx* tctx;
  const confd_hkeypath_t& keypath;
  const confd_value_t& newval;
};

// The state between lib_init() and lib_finish().
struct Context {
  std::optional<int32_t> first_verdict;  // of "sticky"
  bool counts_lives = false;
};

// They would be above 1 in a process that keeps the plug-in for two commits.
int g_inits = 0;
int g_finishes = 0;

Context* ContextOf(const Call& call) {
  return static_cast<Context*>(
      get_lib_context(call.tctx->v_opaque, "test_set"));
}

hostd_t* HostOf(const Call& call) {
  return static_cast<hostd_t*>(call.tctx->vcb_opaque);
}

int32_t Answer(const Call& call, const std::string& text,
               int32_t result = CONFD_ERR) {
  confd_trans_seterr(call.tctx, "%s", text.c_str());
  return result;
}

void Report(const std::string& message) {
  hostmw_gen_fault(0, "", "", 0, message.c_str());
}

void Log(const char* format, ...) {
  va_list args;
  va_start(args, format);
  hostmw_vlog_debug(get_config_vald_log_handle(), format, args);
  va_end(args);
}

int32_t CountLives(const Call& call) {
  ContextOf(call)->counts_lives = true;
  Report("call in life " + std::to_string(g_inits));
  return CONFD_ERR;
}

// The first verdict is kept: a refusal if /top/bad exists.
int32_t KeepFirstVerdict(const Call& call) {
  std::optional<int32_t>& verdict = ContextOf(call)->first_verdict;
  if (!verdict) {
    const int socket = hostd_maapi_socket_get(HostOf(call));
    const bool bad = maapi_exists(socket, call.tctx->thandle, "/top/bad") == 1;
    verdict = bad ? CONFD_ERR : CONFD_OK;
  }
  return *verdict;
}

int32_t Describe(const Call& call) {
  std::string text;
  char printed[64];
  for (int i = 0; i < call.keypath.len; ++i) {
    const confd_value_t* v = call.keypath.v[i];
    for (; v->type != C_NOEXISTS; ++v) {
      confd_pp_value(printed, sizeof(printed), v);
      text += std::string(printed) + " ";
    }
  }
  confd_pp_value(printed, sizeof(printed), &call.newval);
  return Answer(call, text + "= " + printed);
}

int32_t Chatter(const Call& /*call*/) {
  std::printf("to standard output\n");
  std::fprintf(stderr, "to standard error\n");
  Report("first fault");
  Report("second fault");
  Log("line %d of %s", 1, "two");
  Log("%s", "line 2 of two");
  return 0;
}

int32_t ReadCdb(const Call& call) {
  const HostdCdbSessionBase cdb(hostd_instance_get(HostOf(call)), CDB_RUNNING,
                                true);
  int32_t number = 0;
  if (cdb_get_int32(cdb.Socket(), &number, "/top/number") != CONFD_OK) {
    return Answer(call, "no number");
  }
  return Answer(call, std::to_string(number));
}

int32_t DereferenceNull(const Call& /*call*/) {
  volatile int* volatile nothing = nullptr;
  *nothing = 1;  // NOLINT(clang-analyzer-core.NullDereference): wanted
  return 0;
}

void TellStarted() {
  const char* file = std::getenv("IPAV_TEST_STARTED");
  if (file != nullptr) std::ofstream(file) << "started";
}

// Ignores all signals that can be ignored.
int32_t Hang(const Call& /*call*/) {
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGALRM}) {
    std::signal(number, SIG_IGN);
  }
  TellStarted();
  for (;;) pause();
}

int32_t Spin(const Call& /*call*/) {
  TellStarted();
  for (volatile unsigned turns = 0;; turns = turns + 1) {
  }
}

// Makes two processes that never end: one in the process group of the child,
// and one that is only its descendant.
void Spawn() {
  for (const bool leaves_group : {false, true}) {
    if (fork() != 0) continue;
    if (leaves_group) {
      setsid();
      if (fork() != 0) _exit(0);
    }
    for (;;) pause();
  }
}

// NOLINTNEXTLINE(misc-no-recursion): wanted
int Deeper(const volatile char* above) {
  if (*above != 0) return 0;  // never, but compilers cannot know
  volatile char here[4096];
  here[0] = *above;
  return Deeper(here) + here[0];
}

int32_t OverflowStack(const Call& /*call*/) {
  volatile char start = 0;
  return Deeper(&start);
}

int InitCursor(const Call& call, maapi_cursor* cursor) {
  return maapi_init_cursor(hostd_maapi_socket_get(HostOf(call)),
                           call.tctx->thandle, cursor, "/top/row");
}

int32_t LeaveOpen(const Call& call) {
  for (int i = 0; i < 2; ++i) {
    static_cast<void>(InitCursor(call, new maapi_cursor));  // never destroyed
  }
  static_cast<void>(new HostdCdbSessionBase(hostd_instance_get(HostOf(call)),
                                            CDB_RUNNING, true));
  return CONFD_OK;
}

int32_t CloseAll(const Call& call) {
  const HostdCdbSessionBase cdb(hostd_instance_get(HostOf(call)), CDB_RUNNING,
                                true);
  maapi_cursor cursor;
  static_cast<void>(InitCursor(call, &cursor));
  maapi_destroy_cursor(&cursor);
  maapi_destroy_cursor(&cursor);  // once more than needed
  return CONFD_OK;
}

using Deed = int32_t (*)(const Call&);

// NOLINTNEXTLINE(readability-function-size): a table
const std::map<std::string, Deed>& Deeds() {
  static const std::map<std::string, Deed> kDeeds = {
      {"accept", [](const Call&) { return 0; }},
      {"refuse",
       [](const Call& call) { return Answer(call, "refused for a reason."); }},
      {"refuse-silently", [](const Call&) { return CONFD_ERR; }},
      {"refuse-oddly",
       [](const Call& call) {
         return Answer(call, "first line\n100% sure, not %s %n\n");
       }},
      {"refuse-at-length",
       [](const Call& call) {
         return Answer(call, std::string(1000000, 'x'));
       }},
      {"refuse-in-odd-bytes",
       [](const Call& call) {
         return Answer(call,
                       "one\ntwo\r\n\n\ttab {} %s\x1b[31mred\x07\xff\xc3( "
                       "\xed\xa0\x80");
       }},
      {"warn",
       [](const Call& call) {
         return Answer(call, "think again", CONFD_VALIDATION_WARN);
       }},
      {"warn-silently", [](const Call&) { return CONFD_VALIDATION_WARN; }},
      {"return-5", [](const Call&) { return 5; }},
      {"return-1",
       [](const Call& call) { return Answer(call, "a number of its own", 1); }},
      {"return--2",
       [](const Call& call) {
         return Answer(call, "a number of its own", -2);
       }},
      {"describe", Describe},
      {"chatter", Chatter},
      {"read-cdb", ReadCdb},
      {"sticky", KeepFirstVerdict},
      {"count-lives", CountLives},
      {"print-and-abort",
       [](const Call&) -> int32_t {
         std::printf("last words\n");
         std::abort();
       }},
      {"throw",
       [](const Call&) -> int32_t {
         throw std::runtime_error("thrown for a reason");
       }},
      {"throw-int", [](const Call&) -> int32_t { throw 42; }},
      {"set-text-and-throw",
       [](const Call& call) -> int32_t {
         Answer(call, "text of the one that threw");
         throw std::runtime_error("thrown behind a text");
       }},
      {"null", DereferenceNull},
      {"exit-0", [](const Call&) -> int32_t { std::exit(0); }},
      {"exit-7", [](const Call&) -> int32_t { std::exit(7); }},
      {"_exit", [](const Call&) -> int32_t { _exit(0); }},
      {"hang", Hang},
      {"spin", Spin},
      {"spawn-and-hang",
       [](const Call& call) {
         Spawn();
         return Hang(call);
       }},
      {"spawn-and-crash",
       [](const Call&) -> int32_t {
         Spawn();
         std::abort();
       }},
      {"overflow-stack", OverflowStack},
      {"leave-open", LeaveOpen},
      {"close-all", CloseAll},
      {"write-for-ever",
       [](const Call&) -> int32_t {
         for (;;) std::puts(std::string(1 << 16, 'x').c_str());
       }},
      {"report-for-ever",
       [](const Call&) -> int32_t {
         for (;;) Report(std::string(1 << 16, 'x'));
       }},
      {"close-files",
       [](const Call&) -> int32_t {
         for (int fd = 0; fd < 256; ++fd) close(fd);
         return CONFD_OK;
       }},
      {"kill-parent", [](const Call& call) {
         kill(getppid(), SIGKILL);
         return Hang(call);
       }}};
  return kDeeds;
}

}  // namespace

int32_t lib_init(void** context) {
  *context = new Context;
  ++g_inits;
  return 0;
}

int32_t get_validation_point(char* buffer, size_t size) {
  std::snprintf(buffer, size, "test_set");
  return 0;
}

int32_t validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                 confd_value_t* newval) {
  const Call call{tctx, *keypath, *newval};
  if (tctx->validate_opaque == nullptr) return Answer(call, "no opaque text");
  const std::string what = tctx->validate_opaque;
  if (what == "assert") assert(keypath->len == 4711);
  const auto deed = Deeds().find(what);
  if (deed == Deeds().end()) return Answer(call, "unknown opaque text");
  return deed->second(call);
}

int32_t lib_finish(void** context) {
  const auto* life = static_cast<Context*>(*context);
  if (life->counts_lives) Report("lib_finish " + std::to_string(++g_finishes));
  delete life;
  return 0;
}
