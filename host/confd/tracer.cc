#include "host/confd/tracer.h"

#include <algorithm>
#include <cstdio>

#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/confd/value.h"

namespace ipav::confd {

namespace {

Tracer* g_tracer = nullptr;

bool IsPrintable(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= ' ' && byte != 0x7f;
}

bool IsPlain(char c) { return IsPrintable(c) && c != '"' && c != '\\'; }

std::string Escaped(char c) {
  switch (c) {
    case '"':
    case '\\':
      return {'\\', c};
    case '\n':
      return "\\n";
    case '\t':
      return "\\t";
    default:
      break;
  }
  if (IsPrintable(c)) return std::string(1, c);
  char text[5];
  static_cast<void>(std::snprintf(text, sizeof(text), "\\x%02x",
                                  static_cast<unsigned char>(c)));
  return text;
}

std::string EscapedAll(const std::string& text) {
  if (std::all_of(text.begin(), text.end(), IsPlain)) return text;
  std::string result;
  for (const char c : text) result += Escaped(c);
  return result;
}

// The path itself, or its format where that is refused.
std::string PathText(const char* format, va_list args) {
  va_list again;
  va_copy(again, args);
  std::string path;
  try {
    path = FormatPath(format, again);
  } catch (const ConfdError&) {
    path = format == nullptr ? "(null)" : format;
  }
  va_end(again);
  return path;
}

}  // namespace

void SetTracer(Tracer* tracer) { g_tracer = tracer; }

Tracer* CurrentTracer() { return g_tracer; }

void TraceSpan::Begin(const std::string& what) {
  tracer_->Begin(what);
  start_ = std::chrono::steady_clock::now();
}

void TraceSpan::End(const std::string& answer) {
  const auto time = std::chrono::steady_clock::now() - start_;
  tracer_->End(answer, time);
}

void CallTrace::BeginWithPath(const char* call, const char* format,
                              va_list args, const char* first) {
  std::string arguments;
  if (first != nullptr) arguments = Quoted(first) + ", ";
  // Without quotes: it has its own where a key needs them.
  const std::string path = PathText(format, args);
  const bool is_plain = std::all_of(path.begin(), path.end(), IsPrintable);
  arguments += is_plain ? path : Quoted(path);
  span_.Begin(std::string(call) + "(" + arguments + ")");
}

void CallTrace::BeginWithText(const char* call, const char* text) {
  span_.Begin(std::string(call) + "(" +
              (text == nullptr ? "null" : Quoted(text)) + ")");
}

void CallTrace::BeginWithNumber(const char* call, long long number) {
  span_.Begin(std::string(call) + "(" + std::to_string(number) + ")");
}

void CallTrace::EndWithResult(int result) {
  if (result == CONFD_ERR) {
    span_.End("error " + std::to_string(confd_errno) + ", " +
              EscapedAll(confd_lasterr()));
  } else {
    span_.End(answer_.empty() ? std::to_string(result) : answer_);
  }
}

std::string Quoted(const std::string& text) {
  return '"' + EscapedAll(text) + '"';
}

std::string TraceText(const confd_value_t& value) {
  const std::string text = PrintValue(value);
  if (value.type == C_BUF || value.type == C_STR) return Quoted(text);
  return text.empty() ? "(empty)" : text;
}

}  // namespace ipav::confd
