#include "host/commit/child_messages.h"

#include <sys/wait.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/plugin/plugin.h"

namespace ipav::commit {

namespace {

using plugin::PluginError;

// Collects the child's messages.
class OutcomeReader {
 public:
  explicit OutcomeReader(base::TimeLimit time_limit)
      : time_limit_(time_limit) {}

  Outcome Read(const ChildReport& report) {
    for (const Message& message : report.messages) Take(message);
    outcome_.output = report.output;
    // A crash after the last message is a failure as well.
    if (!finished_ || report.wait_status != 0) {
      Fail(HowItEnded(report) + where_);
    }
    outcome_.verdict = JudgeAnswers();
    return outcome_;
  }

 private:
  void Take(const Message& message) {
    const std::vector<std::string>& texts = message.texts;
    switch (message.kind) {
      case kNoPlugin:
        throw PluginError(texts[0]);
      case kInitFailed:
        outcome_.failure = texts[0];
        finished_ = true;
        break;
      case kEnters:
        where_ = ", " + texts[0];
        break;
      case kPlanned:
        where_.clear();
        outcome_.planned = std::stoul(texts[0]);
        break;
      case kBegins:
        where_.clear();
        running_ = true;
        current_ = {texts[0], texts[1], 0, std::nullopt, std::nullopt};
        break;
      case kAnswered:
        current_.result = std::stoi(texts[0]);
        if (texts.size() > 1) current_.text = texts[1];
        TakeAnswer();
        break;
      case kThrew:
        current_.exception = texts[0];
        TakeAnswer();
        break;
      case kFailed:
        Fail(texts[0]);
        finished_ = true;
        break;
      case kFault:
        outcome_.faults.push_back(texts[0]);
        break;
      case kDebugLine:
        outcome_.debug_lines.push_back(texts[0]);
        break;
      case kCalls:
        outcome_.calls[texts[0]] = std::stoull(texts[1]);
        break;
      case kLeftOpen:
        outcome_.left_open.push_back(texts[1] + " " + texts[0] +
                                     (texts[1] == "1" ? "" : "s"));
        break;
      case kFinished:
        finished_ = true;
        break;
      default:
        TakeTimes(message);
        break;
    }
  }

  void TakeTimes(const Message& message) {
    const std::vector<std::string>& texts = message.texts;
    CommitTimes& times = outcome_.times;
    if (message.kind == kTook) {
      times.loading = Decode(texts[0]);
      times.planning = Decode(texts[1]);
      times.points = Decode(texts[2]);
    } else if (message.kind == kPointTook) {
      times.of_points.push_back({texts[0], std::stoull(texts[1]),
                                 std::stoull(texts[2]), Decode(texts[3])});
    }
  }

  void TakeAnswer() {
    running_ = false;
    outcome_.answers.push_back(current_);
  }

  void Fail(const std::string& reason) {
    outcome_.failure = reason;
    if (!running_) return;
    outcome_.failed_point = current_.opaque;
    outcome_.failed_path = current_.path;
  }

  std::string HowItEnded(const ChildReport& report) const {
    if (report.stopped == Stopped::kTimeLimit) {
      return "did not answer within " + base::InWords(time_limit_);
    }
    if (report.stopped == Stopped::kOutputLimit) {
      return "wrote without end, and was stopped";
    }
    const int wait_status = report.wait_status;
    if (WIFSIGNALED(wait_status)) {
      return std::string("killed by signal: ") +
             strsignal(WTERMSIG(wait_status));
    }
    return "ended the process with status " +
           std::to_string(WEXITSTATUS(wait_status));
  }

  Verdict JudgeAnswers() const {
    if (!outcome_.failure.empty()) return Verdict::kPluginFailed;
    Verdict verdict = Verdict::kAccepted;
    for (const Answer& answer : outcome_.answers) {
      if (answer.exception.has_value()) return Verdict::kPluginFailed;
      if (!Accepts(answer)) verdict = Verdict::kRefused;
    }
    return verdict;
  }

  base::TimeLimit time_limit_;
  Outcome outcome_;
  Answer current_;
  std::string where_;      // outside of points
  bool running_ = false;   // within a point
  bool finished_ = false;  // the child completed
};

}  // namespace

Outcome ReadOutcome(const ChildReport& report, base::TimeLimit time_limit) {
  return OutcomeReader(time_limit).Read(report);
}

}  // namespace ipav::commit
