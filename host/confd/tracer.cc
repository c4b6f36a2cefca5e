#include "host/confd/tracer.h"

#include "host/base/utf8.h"
#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/confd/value.h"

namespace ipav::confd {

namespace {

Tracer* g_tracer = nullptr;

// The path, or its format if the format is refused.
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
  if (first != nullptr) arguments = base::Quoted(first) + ", ";
  // Not quoted: keys in the path have their own quotes if necessary.
  const std::string path = PathText(format, args);
  arguments += base::IsPrintable(path) ? path : base::Quoted(path);
  span_.Begin(std::string(call) + "(" + arguments + ")");
}

void CallTrace::BeginWithText(const char* call, const char* text) {
  span_.Begin(std::string(call) + "(" +
              (text == nullptr ? "null" : base::Quoted(text)) + ")");
}

void CallTrace::BeginWithNumber(const char* call, long long number) {
  span_.Begin(std::string(call) + "(" + std::to_string(number) + ")");
}

void CallTrace::EndWithResult(int result) {
  if (result == CONFD_ERR) {
    span_.End("error " + std::to_string(confd_errno) + ", " +
              base::Escaped(confd_lasterr()));
  } else {
    span_.End(answer_.empty() ? std::to_string(result) : answer_);
  }
}

std::string TraceText(const confd_value_t& value) {
  const std::string text = PrintValue(value);
  if (value.type == C_BUF || value.type == C_STR) return base::Quoted(text);
  return text.empty() ? "(empty)" : text;
}

}  // namespace ipav::confd
