#include "cli/report/junit/junit.h"

#include <fmt/core.h>

#include <cstddef>
#include <new>
#include <string>
#include <vector>

#include "cli/report/finding_text.h"
#include "cli/report/restart_findings.h"
#include "host/base/utf8.h"

namespace ipav::cli::report {

namespace {

using commit::Answer;
using commit::Outcome;
using messages::Finding;

const xmlChar* Xml(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

// One call, which a CI system shows as a test.
struct Case {
  std::string name;
  // Below it: failure, error, skipped; null: it passed.
  const char* element = nullptr;
  std::string type;
  std::string message;
  std::string details;  // if it passed: its output
};

struct Suite {
  std::vector<Case> cases;
  std::size_t failures = 0;
  std::size_t errors = 0;
  std::size_t skipped = 0;

  void Pass(const std::string& name, const std::string& says = "") {
    cases.push_back({name, nullptr, "", "", says});
  }
  void Fail(const std::string& name, const Finding& finding) {
    cases.push_back({name, "failure", RuleIdOf(finding), TextOf(finding),
                     InWords(finding)});
    ++failures;
  }
  void Err(const std::string& name, const char* type,
           const std::string& message, const std::string& details = "") {
    cases.push_back({name, "error", type, message, details});
    ++errors;
  }
};

std::string NameOf(const std::string& point, const std::string& path) {
  return path.empty() ? point : point + " " + path;
}

// Findings are those of the refusals, in their order.
void AddAnswers(const DeviceReport& device, Suite* suite) {
  std::size_t refusals = 0;
  for (const Answer& answer : device.outcome.answers) {
    const std::string name = NameOf(answer.opaque, answer.path);
    if (answer.exception) {
      suite->Err(name, "plug-in failed",
                 "the plug-in threw an exception: " + *answer.exception);
    } else if (Accepts(answer)) {
      suite->Pass(name, answer.text.value_or(""));
    } else if (refusals < device.findings.size()) {
      suite->Fail(name, device.findings[refusals++]);
    }
    while (refusals < device.findings.size() &&
           device.findings[refusals].is_behind) {
      suite->Fail(name, device.findings[refusals++]);
    }
  }
}

void AddFailure(const Outcome& outcome, Suite* suite) {
  if (outcome.failure.empty()) return;
  const std::string name =
      outcome.failed_path.empty()
          ? "plug-in"
          : NameOf(outcome.failed_point, outcome.failed_path);
  suite->Err(name, "plug-in failed", outcome.failure, outcome.output);
}

// A case for each fault after a restart, or one that passed. A standing fault
// refuses nothing by itself.
void AddRestart(const DeviceReport& device, Suite* suite) {
  constexpr char kName[] = "after a restart";
  constexpr const char* kElements[] = {"failure", "skipped", nullptr};
  if (!device.restart) return;
  bool has_fault = false;
  for (auto& [finding, state, is_of_change] : RestartFindings(device)) {
    if (state == RestartState::kHealed) finding.advice.clear();
    suite->cases.push_back(
        {std::string(kName) + ": " + NameOf(finding.point, finding.path),
         kElements[static_cast<std::size_t>(state)], RuleIdOf(finding),
         TextOf(finding),
         std::string(HeadingOf(state)) + "\n" + InWords(finding)});
    if (state == RestartState::kNew) ++suite->failures;
    if (state == RestartState::kStands) ++suite->skipped;
    has_fault |= state != RestartState::kHealed;
  }
  const bool is_change = device.restart->is_change;
  if (!has_fault) suite->Pass(kName, is_change ? "the same as the change" : "");
}

Suite SuiteOf(const DeviceReport& device) {
  Suite suite;
  if (device.status == kBadInput) {
    // A case has one error only.
    for (std::size_t i = 0; i < device.input_errors.size(); ++i) {
      suite.Err(i == 0 ? "input" : "input " + std::to_string(i + 1),
                "bad input", device.input_errors[i]);
    }
    return suite;
  }
  AddAnswers(device, &suite);
  AddRestart(device, &suite);
  AddFailure(device.outcome, &suite);
  // A suite without a case looks as if it did not run.
  if (suite.cases.empty()) suite.Pass("nothing to judge");
  return suite;
}

class Elements {
 public:
  explicit Elements(xmlTextWriter* xml) : xml_(xml) {}

  void Start(const char* name) { xmlTextWriterStartElement(xml_, Xml(name)); }
  void End() { xmlTextWriterEndElement(xml_); }
  void Attribute(const char* name, const std::string& value) {
    xmlTextWriterWriteAttribute(xml_, Xml(name),
                                Xml(base::ToXmlText(value).c_str()));
  }
  void Text(const std::string& text) {
    xmlTextWriterWriteString(xml_, Xml(base::ToXmlText(text).c_str()));
  }
  void Property(const char* name, const std::string& value) {
    Start("property");
    Attribute("name", name);
    Attribute("value", value);
    End();
  }
  void Element(const char* name, const std::string& text) {
    if (text.empty()) return;
    Start(name);
    Text(text);
    End();
  }

 private:
  xmlTextWriter* xml_;
};

void WriteProperties(const DeviceReport& device, Elements* xml) {
  xml->Start("properties");
  if (!device.running.empty()) xml->Property("running", device.running);
  const Outcome& outcome = device.outcome;
  xml->Property("validation calls planned", std::to_string(outcome.planned));
  xml->Property("validation calls made",
                std::to_string(outcome.answers.size()));
  if (!device.more_findings.empty()) {
    xml->Property("more findings", device.more_findings);
  }
  xml->End();
}

void WriteCase(const std::string& device, const Case& test, Elements* xml) {
  xml->Start("testcase");
  xml->Attribute("classname", device);
  xml->Attribute("name", test.name);
  if (test.element == nullptr) {
    xml->Element("system-out", test.details);
  } else {
    xml->Start(test.element);
    xml->Attribute("message", test.message);
    xml->Attribute("type", test.type);
    xml->Text(test.details);
    xml->End();
  }
  xml->End();
}

std::string Warnings(const DeviceReport& device) {
  const Outcome& outcome = device.outcome;
  std::string text;
  for (const std::string& advice : device.advice) text += advice + "\n";
  for (const std::string& fault : outcome.faults) text += fault + "\n";
  for (const std::string& what : outcome.left_open) {
    text += "the plug-in left " + what + " open\n";
  }
  return text;
}

// Always reports success: libxml2 would print an error, and a failed write is
// detected with the file.
int WriteTo(void* out, const char* text, int size) {
  static_cast<void>(std::fwrite(text, 1, static_cast<std::size_t>(size),
                                static_cast<std::FILE*>(out)));
  return size;
}

}  // namespace

JunitWriter::JunitWriter(std::FILE* out)
    : xml_(xmlNewTextWriter(
          xmlOutputBufferCreateIO(WriteTo, nullptr, out, nullptr))) {
  if (xml_ == nullptr) throw std::bad_alloc();
  xmlTextWriterSetIndent(xml_.get(), 1);
}

void JunitWriter::Begin() {
  xmlTextWriterStartDocument(xml_.get(), nullptr, "UTF-8", nullptr);
  Elements xml(xml_.get());
  xml.Start("testsuites");
  xml.Attribute("name", "ipav");
}

void JunitWriter::Add(const DeviceReport& device) {
  const Suite suite = SuiteOf(device);
  Elements xml(xml_.get());
  xml.Start("testsuite");
  xml.Attribute("name", device.candidate);
  xml.Attribute("tests", std::to_string(suite.cases.size()));
  xml.Attribute("failures", std::to_string(suite.failures));
  xml.Attribute("errors", std::to_string(suite.errors));
  xml.Attribute("skipped", std::to_string(suite.skipped));
  if (device.seconds > 0) {
    xml.Attribute("time", fmt::format("{:.6f}", device.seconds));
  }
  WriteProperties(device, &xml);
  for (const Case& test : suite.cases) {
    WriteCase(device.candidate, test, &xml);
  }
  xml.Element("system-out",
              device.status == kPluginFailed ? "" : device.outcome.output);
  xml.Element("system-err", Warnings(device));
  xml.End();
  xmlTextWriterFlush(xml_.get());
}

void JunitWriter::End() {
  xmlTextWriterEndDocument(xml_.get());
  xmlTextWriterFlush(xml_.get());
}

}  // namespace ipav::cli::report
