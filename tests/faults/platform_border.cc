// Calls that the linker leads here (--wrap), and from here to what they are
// meant for: the plug-in's entry point, and the two ends of a text that the
// platform gives away.

#include <confd_maapi.h>

#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

#include "include/validate.h"
#include "tests/faults/allocations.h"
#include "tests/support/path_text.h"
#include "tests/support/side.h"

using ipav::testing::FormatPath;
using ipav::testing::Side;
using ipav::testing::SideScope;

namespace {

// The last answer to an XPath question that is not free yet, and how many were
// forgotten before it.
void* xpath_answer = nullptr;
std::size_t forgotten_xpath_answers = 0;

}  // namespace

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)

extern "C" {

extern decltype(free) __real_free;
extern decltype(maapi_xpath_eval_expr) __real_maapi_xpath_eval_expr;
extern decltype(validate) __real_validate;

// What a host does of an exception that leaves the entry point.
int32_t __wrap_validate(confd_trans_ctx* tctx, confd_hkeypath_t* keypath,
                        confd_value_t* newval) {
  const SideScope scope(Side::kPlugIn);
  try {
    return __real_validate(tctx, keypath, newval);
  } catch (const std::bad_alloc&) {
    ipav::faults::NoteRanOutOfMemory();
    return -1;
  }
}

int __wrap_maapi_xpath_eval_expr(int sock, int thandle, const char* expr,
                                 char** res, void (*trace)(char*),
                                 const char* fmtpath, ...) {
  const SideScope scope(Side::kPlatform);
  va_list args;
  va_start(args, fmtpath);
  const std::string path = FormatPath(fmtpath, args).value_or(fmtpath);
  va_end(args);
  const int result = __real_maapi_xpath_eval_expr(sock, thandle, expr, res,
                                                  trace, "%s", path.c_str());
  if (xpath_answer != nullptr) ++forgotten_xpath_answers;
  xpath_answer = *res;
  return result;
}

// Memory of the C library that the plug-in gives back is an answer's.
void __wrap_free(void* memory) {
  if (memory == xpath_answer) xpath_answer = nullptr;
  __real_free(memory);
}

}  // extern "C"

// NOLINTEND(bugprone-reserved-identifier)

namespace ipav::faults {

std::size_t UnfreedXpathAnswers() {
  return forgotten_xpath_answers + (xpath_answer == nullptr ? 0 : 1);
}

}  // namespace ipav::faults
