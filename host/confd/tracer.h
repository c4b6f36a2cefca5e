// A trace of the platform calls that a plug-in makes: each with its arguments,
// its result and its time, nested in the call that made it.
//
// When it is off, it costs a call two tests of a pointer.
#ifndef IPAV_HOST_CONFD_TRACER_H_
#define IPAV_HOST_CONFD_TRACER_H_

#include <confd_lib.h>

#include <chrono>
#include <cstdarg>
#include <string>

namespace ipav::confd {

// Receives spans of time as they begin and end; they nest. The begin is
// reported at once, so that after a crash the trace shows the span that
// crashed.
class Tracer {
 public:
  virtual ~Tracer() = default;
  virtual void Begin(const std::string& what) = 0;
  // `answer` is empty if the span has no result.
  virtual void End(const std::string& answer,
                   std::chrono::nanoseconds time) = 0;
  // An event without a duration.
  virtual void Note(const std::string& what) = 0;
};

// Sets the tracer that receives all spans from now on; null for none. Borrowed.
void SetTracer(Tracer* tracer);
Tracer* CurrentTracer();

// One span. Begin() and End() require is_on().
class TraceSpan {
 public:
  TraceSpan() : tracer_(CurrentTracer()) {}

  bool is_on() const { return tracer_ != nullptr; }
  void Begin(const std::string& what);
  void End(const std::string& answer);

 private:
  Tracer* tracer_;
  std::chrono::steady_clock::time_point start_;
};

// The span of a platform call, from its construction on.
class CallTrace {
 public:
  // A call with a path in the form of the daemon's interface, and optionally an
  // argument before it.
  CallTrace(const char* call, const char* format, va_list args,
            const char* first = nullptr) {
    if (span_.is_on()) BeginWithPath(call, format, args, first);
  }
  explicit CallTrace(const char* call) {
    if (span_.is_on()) span_.Begin(std::string(call) + "()");
  }
  CallTrace(const char* call, const char* text) {
    if (span_.is_on()) BeginWithText(call, text);
  }
  CallTrace(const char* call, long long number) {
    if (span_.is_on()) BeginWithNumber(call, number);
  }

  bool is_on() const { return span_.is_on(); }

  // The text that is shown instead of a result other than CONFD_ERR.
  void set_answer(std::string answer) { answer_ = std::move(answer); }

  // Returns `result`. With CONFD_ERR, the answer is the error's text.
  int End(int result) {
    if (span_.is_on()) EndWithResult(result);
    return result;
  }
  // For a call without a result: the answer is that of set_answer(), or empty.
  void End() {
    if (span_.is_on()) span_.End(answer_);
  }

 private:
  void BeginWithPath(const char* call, const char* format, va_list args,
                     const char* first);
  void BeginWithText(const char* call, const char* text);
  void BeginWithNumber(const char* call, long long number);
  void EndWithResult(int result);

  TraceSpan span_;
  std::string answer_;
};

// A value as a trace shows it: a text in quotes.
std::string TraceText(const confd_value_t& value);

}  // namespace ipav::confd

#endif  // IPAV_HOST_CONFD_TRACER_H_
