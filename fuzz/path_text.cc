// Path formats and texts for the host's stand-in for the daemon's library, on a
// small configuration.
//
// Legal: success, or CONFD_ERR with an error number of the call and unchanged
// output. Reads agree with each other: a node that can be read exists, and a
// list has as many entries as its cursor returns. A format expands its
// arguments like the C library's printf(), and a path can be read back from the
// text of its steps.
//
// Input: lines. The first character is the call (kCalls), in capitals for one
// on a socket that is not open; the rest of the line is the format; the
// following lines are the arguments of its conversions, numbers in decimal. A
// format is truncated after three conversions. For XPath the second line is the
// name of an interface, and the format is the path of the context.

#include <confd_cdb.h>
#include <confd_maapi.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/support/byte_reader.h"
#include "fuzz/support/configurations.h"
#include "fuzz/support/finding.h"
#include "fuzz/support/target.h"
#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/confd/session.h"
#include "host/datastore/diff.h"
#include "host/datastore/libyang_error.h"

namespace ipav::fuzz {

namespace {

using confd::ConfdError;
using confd::PathStep;
using confd::Session;
using datastore::DataTree;
using datastore::Diff;

constexpr std::size_t kMaxArguments = 3;

// ---- The transaction -------------------------------------------------------

// The small configuration with a leaf of each kind changed.
const DataTree& Candidate() {
  static const DataTree kTree = [] {
    std::string text = SmallConfigurationText();
    const std::vector<std::vector<std::string>> changes = {
        {"<vlan>10<", "<vlan>20<"},     {"<vrf>red<", "<vrf>blue<"},
        {"10.1.2.1/24", "10.1.3.1/24"}, {"<lifetime>1800</lifetime>", ""},
        {"<name>0<", "<name>1<"},
    };
    for (const auto& change : changes) {
      text.replace(text.find(change[0]), change[0].size(), change[1]);
    }
    auto tree = ReadConfiguration(text);
    Require(tree.has_value(), "the changed configuration is refused");
    return std::move(*tree);
  }();
  return kTree;
}

Session& Transaction() {
  static const Diff kDiff(SmallConfiguration(), Candidate());
  static Session session(SmallConfiguration(), Candidate(), kDiff);
  return session;
}

// ---- Inputs ----------------------------------------------------------------

// What a call is made with. The texts hold no NUL.
struct Input {
  char call = 'e';
  int sock = -1;
  std::string format;
  std::vector<std::string> arguments;

  std::string argument(std::size_t number) const {
    return number < arguments.size() ? arguments[number] : "";
  }
};

bool IsTaken(char conversion) {
  return conversion == 's' || conversion == 'd' || conversion == 'u';
}

// The conversions of a format, up to the first one that is refused; the end of
// the format, too, is a conversion that is none.
std::string ConversionsOf(const std::string& format) {
  std::string conversions;
  for (std::size_t at = 0; (at = format.find('%', at)) != std::string::npos;
       at += 2) {
    conversions += at + 1 < format.size() ? format[at + 1] : '\0';
    if (!IsTaken(conversions.back())) break;
  }
  return conversions;
}

// Ahead of the conversion for which there is no argument.
std::string CutBehindArguments(const std::string& format) {
  std::size_t at = 0;
  for (std::size_t i = 0; i <= kMaxArguments; ++i) {
    const std::size_t percent = format.find('%', at);
    if (percent == std::string::npos) return format;
    if (i == kMaxArguments) return format.substr(0, percent);
    at = std::min(percent + 2, format.size());
  }
  return format;
}

Input InputOf(const std::uint8_t* data, std::size_t size) {
  Input input;
  std::vector<std::string> lines = LinesOf(data, size);
  std::string& first = lines.front();
  if (!first.empty()) input.call = first.front();
  const bool is_open =
      std::isupper(static_cast<unsigned char>(input.call)) == 0;
  input.sock = is_open ? Session::maapi_socket() : 3;
  input.call =
      static_cast<char>(std::tolower(static_cast<unsigned char>(input.call)));
  input.format =
      CutBehindArguments(UpToNul(first.substr(first.empty() ? 0 : 1)));
  for (std::size_t i = 1; i < lines.size(); ++i) {
    input.arguments.push_back(UpToNul(lines[i]));
  }
  return input;
}

// ---- Formats ---------------------------------------------------------------

int NumberOf(const std::string& text) {
  return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

// Calls `call` with the format and an argument of the right type for each
// conversion that is taken.
template <typename Call, typename... Arguments>
auto CallWith(const Input& input, const Call& call, Arguments... arguments) {
  constexpr std::size_t kNumber = sizeof...(Arguments);
  if constexpr (kNumber < kMaxArguments) {
    const std::string conversions = ConversionsOf(input.format);
    const char next =
        kNumber < conversions.size() ? conversions[kNumber] : '\0';
    const std::string text = input.argument(kNumber);
    if (next == 's') return CallWith(input, call, arguments..., text.c_str());
    if (next == 'd') return CallWith(input, call, arguments..., NumberOf(text));
    if (next == 'u') {
      return CallWith(input, call, arguments...,
                      static_cast<unsigned>(NumberOf(text)));
    }
  }
  return call(input.format.c_str(), arguments...);
}

// What printf() would make of a format that is taken.
std::string ExpectedText(const Input& input) {
  std::string text;
  std::size_t number = 0;
  for (std::size_t i = 0; i < input.format.size(); ++i) {
    if (input.format[i] != '%') {
      text += input.format[i];
      continue;
    }
    const std::string argument = input.argument(number++);
    switch (input.format[++i]) {
      case 's':
        text += argument;
        break;
      case 'd':
        text += std::to_string(NumberOf(argument));
        break;
      default:
        text += std::to_string(static_cast<unsigned>(NumberOf(argument)));
        break;
    }
  }
  return text;
}

// The text of a format; false where it is refused.
bool Format(std::string* text, const char* format, ...) {
  va_list args;
  va_start(args, format);
  bool is_taken = true;
  try {
    *text = confd::FormatPath(format, args);
  } catch (const ConfdError& error) {
    Require(error.code() == CONFD_ERR_BADPATH, "another error of a format");
    is_taken = false;
  }
  va_end(args);
  return is_taken;
}

// Steps as a text; every key in quotes.
std::string TextOf(const std::vector<PathStep>& steps) {
  std::string text;
  for (const PathStep& step : steps) {
    text += '/';
    if (!step.prefix.empty()) text += step.prefix + ':';
    text += step.name;
    if (step.keys.empty()) continue;
    text += '{';
    for (const std::string& key : step.keys) {
      text += " \"";
      for (const char c : key) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
      }
      text += '"';
    }
    text += '}';
  }
  return text;
}

// The steps of a path; none where it is refused.
std::vector<PathStep> StepsOf(const std::string& path) {
  try {
    return confd::ParsePath(path);
  } catch (const ConfdError& error) {
    Require(error.code() == CONFD_ERR_BADPATH, "another error of a path");
    return {};
  }
}

void RequireReadsBack(const std::string& path) {
  const std::vector<PathStep> steps = StepsOf(path);
  if (steps.empty()) return;
  const std::vector<PathStep> again = StepsOf(TextOf(steps));
  const bool is_same = std::equal(
      steps.begin(), steps.end(), again.begin(), again.end(),
      [](const PathStep& a, const PathStep& b) {
        return a.prefix == b.prefix && a.name == b.name && a.keys == b.keys;
      });
  Require(is_same, "a path does not read back");
}

void CheckTexts(const Input& input) {
  std::string text;
  const bool is_taken =
      CallWith(input, [&](const char* format, auto... arguments) {
        return Format(&text, format, arguments...);
      });
  const std::string conversions = ConversionsOf(input.format);
  const bool is_plain =
      std::all_of(conversions.begin(), conversions.end(), IsTaken);
  Require(is_taken == is_plain, "a format taken or refused wrongly");
  if (!is_taken) return;
  Require(text == ExpectedText(input), "a format does something else");
  RequireReadsBack(text);
}

// ---- Calls -----------------------------------------------------------------

int Thandle() { return Transaction().context().thandle; }

void RequireError(int result, std::initializer_list<int> codes) {
  Require(result == CONFD_ERR, "a result that is none of the call's");
  Require(std::find(codes.begin(), codes.end(), confd_errno) != codes.end(),
          "an error number that is none of the call's");
  Require(confd_lasterr() != nullptr, "an error without a reason");
}

// Calls a function of the socket, the transaction and `more...`.
template <typename Function, typename... More>
int CallMaapi(const Input& input, Function function, More... more) {
  return CallWith(input, [&](const char* format, auto... arguments) {
    return function(input.sock, Thandle(), more..., format, arguments...);
  });
}

int Exists(const Input& input) {
  const int result = CallMaapi(input, maapi_exists);
  if (result != 0 && result != 1) {
    RequireError(result, {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION});
  }
  return result;
}

void CheckExists(const Input& input) { static_cast<void>(Exists(input)); }

// The type of the leaf, C_NOEXISTS where it cannot be read.
confd_vtype CheckElem(const Input& input) {
  confd_value_t value{};
  const int result = CallMaapi(input, maapi_get_elem, &value);
  if (result != CONFD_OK) {
    RequireError(result, {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION,
                          CONFD_ERR_NOEXISTS, CONFD_ERR_NOT_IMPLEMENTED});
    return C_NOEXISTS;
  }
  Require(Exists(input) == 1, "a leaf that can be read and does not exist");
  char text[8] = "";
  const int length = confd_pp_value(text, sizeof(text), &value);
  const std::size_t room = sizeof(text) - 1;
  Require(std::strlen(text) ==
              std::min<std::size_t>(static_cast<std::size_t>(length), room),
          "a value printed wrongly");
  const confd_vtype type = value.type;
  confd_free_value(&value);
  return type;
}

void CheckAnyLeaf(const Input& input) { static_cast<void>(CheckElem(input)); }

// A typed read: of a leaf of that type, or with its output untouched.
template <typename Result, typename Function>
void CheckTyped(const Input& input, confd_vtype type, Function function) {
  alignas(Result) unsigned char value[sizeof(Result)];
  std::memset(value, 0xa5, sizeof(value));
  unsigned char before[sizeof(value)];
  std::memcpy(before, value, sizeof(value));

  const int result =
      CallMaapi(input, function, reinterpret_cast<Result*>(value));
  if (result != CONFD_OK) {
    RequireError(result,
                 {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION, CONFD_ERR_NOEXISTS,
                  CONFD_ERR_BADTYPE, CONFD_ERR_NOT_IMPLEMENTED});
    Require(std::memcmp(before, value, sizeof(value)) == 0,
            "a failing read that writes");
  }
  const bool is_of_type = CheckElem(input) == type;
  Require(is_of_type == (result == CONFD_OK), "a read of another type");
}

void CheckInt32(const Input& input) {
  CheckTyped<std::int32_t>(input, C_INT32, maapi_get_int32_elem);
}
void CheckUint8(const Input& input) {
  CheckTyped<std::uint8_t>(input, C_UINT8, maapi_get_u_int8_elem);
}
void CheckUint16(const Input& input) {
  CheckTyped<std::uint16_t>(input, C_UINT16, maapi_get_u_int16_elem);
}
void CheckUint32(const Input& input) {
  CheckTyped<std::uint32_t>(input, C_UINT32, maapi_get_u_int32_elem);
}
void CheckIpv4Prefix(const Input& input) {
  CheckTyped<confd_ipv4_prefix>(input, C_IPV4_AND_PLEN,
                                maapi_get_ipv4_and_plen_elem);
}
void CheckIpv6Prefix(const Input& input) {
  CheckTyped<confd_ipv6_prefix>(input, C_IPV6_AND_PLEN,
                                maapi_get_ipv6_and_plen_elem);
}

// Into a buffer that most texts fit in.
void CheckText(const Input& input) {
  char text[6] = "none.";
  const int result = CallMaapi(input, maapi_get_str_elem, text,
                               static_cast<int>(sizeof(text)));
  if (result != CONFD_OK) {
    RequireError(result, {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION,
                          CONFD_ERR_NOEXISTS, CONFD_ERR_BADTYPE,
                          CONFD_ERR_PROTOUSAGE, CONFD_ERR_NOT_IMPLEMENTED});
    Require(std::string(text) == "none.", "a failing read that writes");
    return;
  }
  Require(std::memchr(text, '\0', sizeof(text)) != nullptr, "an open text");
  Require(CheckElem(input) == C_BUF, "a text of another type");
}

// The number of entries that a cursor walks, or -1.
int Walk(const Input& input) {
  maapi_cursor cursor;
  const int result = CallMaapi(input, maapi_init_cursor, &cursor);
  int count = -1;
  if (result == CONFD_OK) {
    do {
      Require(maapi_get_next(&cursor) == CONFD_OK, "a walk that breaks off");
      ++count;
    } while (cursor.n != 0);
  } else {
    RequireError(result, {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION});
  }
  maapi_destroy_cursor(&cursor);
  return count;
}

void CheckList(const Input& input) {
  const int count = CallMaapi(input, maapi_num_instances);
  if (count < 0) {
    RequireError(count, {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION});
  }
  Require(Walk(input) == count, "a list of two lengths");
}

// Answers each change with the next character of a text.
struct Answers {
  std::string text;
  std::size_t at = 0;
};

confd_iter_ret Answer(confd_hkeypath_t* path, confd_iter_op op,
                      confd_value_t* oldv, confd_value_t* newv, void* state) {
  Require(path->len > 0 && path->len < MAXDEPTH, "a key path of wrong length");
  Require(path->v[path->len - 1][0].type == C_XMLTAG, "a path without a root");
  Require(oldv == nullptr, "an old value");
  Require((newv != nullptr) == (op == MOP_VALUE_SET), "a value out of place");
  auto* answers = static_cast<Answers*>(state);
  if (answers->at == answers->text.size()) return ITER_RECURSE;
  return static_cast<confd_iter_ret>(answers->text[answers->at++] & 7);
}

void CheckChanges(const Input& input) {
  Answers answers{input.argument(input.arguments.size() - 1)};
  const int result = CallMaapi(input, maapi_keypath_diff_iterate, Answer, 0,
                               static_cast<void*>(&answers));
  if (result == CONFD_OK) return;
  RequireError(result, {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION,
                        CONFD_ERR_NOT_IMPLEMENTED});
}

void CheckRunning(const Input& input) {
  const int cdb = Transaction().OpenCdb();
  const int sock = input.sock == Session::maapi_socket() ? cdb : input.sock;
  constexpr std::int32_t kUntouched = -12345;
  std::int32_t value = kUntouched;
  const int result =
      CallWith(input, [&](const char* format, auto... arguments) {
        return cdb_get_int32(sock, &value, format, arguments...);
      });
  Transaction().CloseCdb(cdb);
  if (result == CONFD_OK) return;
  RequireError(result,
               {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION, CONFD_ERR_NOEXISTS,
                CONFD_ERR_BADTYPE, CONFD_ERR_NOT_IMPLEMENTED});
  Require(value == kUntouched, "a failing read that writes");
}

// With a name in the expression as the plug-in puts it there.
void CheckXpath(const Input& input) {
  const std::string expression = "ospfv3-interface-l3[ospfv3-pm-if-name='l3-" +
                                 input.argument(0) + "']/ospfv3-pm-if-name";
  char* answer = nullptr;
  const int result = CallMaapi(input, maapi_xpath_eval_expr, expression.c_str(),
                               &answer, static_cast<void (*)(char*)>(nullptr));
  Require((answer != nullptr) == (result == CONFD_OK),
          "an answer of a failure");
  std::free(answer);
  if (result == CONFD_OK) return;
  RequireError(result, {CONFD_ERR_BADPATH, CONFD_ERR_NOSESSION,
                        CONFD_ERR_NOEXISTS, CONFD_ERR_XPATH});
}

struct CallKind {
  char letter;
  void (*check)(const Input& input);
};

constexpr CallKind kCalls[] = {
    {'e', CheckExists}, {'g', CheckAnyLeaf},    {'s', CheckText},
    {'i', CheckInt32},  {'b', CheckUint8},      {'h', CheckUint16},
    {'u', CheckUint32}, {'4', CheckIpv4Prefix}, {'6', CheckIpv6Prefix},
    {'n', CheckList},   {'d', CheckChanges},    {'r', CheckRunning},
    {'x', CheckXpath},
};

}  // namespace

}  // namespace ipav::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ipav::fuzz::Input input = ipav::fuzz::InputOf(data, size);
  ipav::datastore::ClearErrors(ipav::fuzz::ProjectModel().context());
  static_cast<void>(ipav::fuzz::Transaction());
  ipav::fuzz::CheckTexts(input);
  for (const auto& kind : ipav::fuzz::kCalls) {
    if (kind.letter == input.call) kind.check(input);
  }
  return 0;
}
