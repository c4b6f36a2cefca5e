// A trace of the platform calls that a plug-in makes: each with its arguments,
// its answer and its time, inside of what made it.
//
// Off, it costs a call two tests of a pointer.
#ifndef IPAV_HOST_CONFD_TRACER_H_
#define IPAV_HOST_CONFD_TRACER_H_

#include <confd_lib.h>

#include <chrono>
#include <cstdarg>
#include <string>

namespace ipav::confd {

// Hears of spans of time as they begin and end; they nest. It is told of the
// beginning first, so that a crash leaves what it happened in.
class Tracer {
 public:
  virtual ~Tracer() = default;
  virtual void Begin(const std::string& what) = 0;
  // `answer` is empty for what has none.
  virtual void End(const std::string& answer,
                   std::chrono::nanoseconds time) = 0;
  // Something of no length.
  virtual void Note(const std::string& what) = 0;
};

// Makes `tracer` hear everything from now on; null for nobody. Borrowed.
void SetTracer(Tracer* tracer);
Tracer* CurrentTracer();

// One span. All but is_on() is for a span that is on.
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
  // A call with a path, as it is given to the daemon's interface, and maybe an
  // argument in front of it.
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

  // What is shown in place of a result other than CONFD_ERR.
  void set_answer(std::string answer) { answer_ = std::move(answer); }

  // Returns `result`. With CONFD_ERR, the answer is the error's text.
  int End(int result) {
    if (span_.is_on()) EndWithResult(result);
    return result;
  }
  // Of a call that answers nothing, or what set_answer() got.
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
