#include "cli/report/html/html.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/report/html/device_html.h"
#include "cli/report/html/page_style.h"
#include "cli/report/restart_findings.h"

namespace ipav::cli::report {

namespace {

constexpr std::size_t kChunk = 65536;  // bytes

// The fill of bars in conflict.
constexpr char kHatch[] =
    "<svg class=\"patterns\" aria-hidden=\"true\"><defs>"
    "<pattern id=\"hatch\" width=\"7\" height=\"7\" "
    "patternUnits=\"userSpaceOnUse\" patternTransform=\"rotate(45)\">"
    "<rect class=\"hatch-ground\" width=\"7\" height=\"7\" />"
    "<line class=\"hatch-line\" x1=\"1\" x2=\"1\" y2=\"7\" /></pattern>"
    "</defs></svg>\n";

void Write(const std::string& text, std::FILE* file) {
  // Errors are detected when the file is flushed.
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), file));
}

void Copy(std::FILE* from, std::FILE* to) {
  std::string chunk(kChunk, '\0');
  for (std::size_t size = kChunk; size == kChunk;) {
    size = std::fread(chunk.data(), 1, kChunk, from);
    Write(chunk.substr(0, size), to);
  }
}

void AddListRow(const PageEntry& device, const PageWords& words, Html* html) {
  html->Markup(R"(<tr><th scope="row"><a href="#d{}">{}</a></th><td>)",
               device.number, device.name);
  AddVerdict(device.status, words.verdicts, html);
  html->Markup("</td><td>");
  const std::vector<std::string>& texts = device.problems;
  if (!texts.empty()) html->Text(texts.front());
  if (texts.size() > 1) {
    html->Markup(" <span class=\"count\">and {} more</span>", texts.size() - 1);
  }
  html->Markup("</td></tr>\n");
}

}  // namespace

std::vector<std::string> ProblemsOf(const DeviceReport& device) {
  std::vector<std::string> texts = device.input_errors;
  for (const messages::Finding& finding : device.findings) {
    texts.push_back(finding.text);
  }
  for (const RestartFinding& each : RestartFindings(device)) {
    const bool is_listed =
        !each.is_of_change && each.state != RestartState::kHealed;
    if (is_listed) texts.push_back(each.finding.text);
  }
  if (texts.empty()) texts.push_back(device.outcome.failure);
  return texts;
}

const PageWords kCheckPage = {
    "Validation report", "candidate",     "candidates", "Candidate",
    "Candidates",        "First finding", kPageVerdicts};

PageEntry EntryOf(const DeviceReport& device) {
  return {device.number, device.candidate, device.status, ProblemsOf(device),
          device.page_section.empty() ? DeviceSection(device, nullptr).str()
                                      : device.page_section};
}

HtmlWriter::HtmlWriter(std::string file, const PageWords& words)
    : words_(words), output_(std::move(file)), sections_(std::tmpfile()) {
  if (sections_ == nullptr) {
    throw std::system_error(errno, std::generic_category(),
                            "sections of a page");
  }
}

void HtmlWriter::Add(const PageEntry& device) {
  ++devices_;
  ++by_status_[device.status];
  last_ = device.name;
  AddListRow(device, words_, &list_);
  Write(device.section, sections_.get());
}

// Also well-formed XML, so that any parser detects a broken page.
Html HtmlWriter::Head() const {
  std::string verdicts;
  for (std::size_t status = 0; status < 4; ++status) {
    if (by_status_[status] == 0) continue;
    verdicts += (verdicts.empty() ? "" : ", ") +
                std::to_string(by_status_[status]) + " " +
                words_.verdicts.at(status);
  }
  const bool is_one = devices_ == 1;
  const std::string count = Count(devices_, words_.device, words_.devices);
  Html html;
  html.Markup(
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n"
      "<meta charset=\"utf-8\" />\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src "
      "'none'; style-src 'unsafe-inline'; base-uri 'none'; form-action "
      "'none'\" />\n"
      "<meta name=\"viewport\" content=\"width=device-width, "
      "initial-scale=1\" />\n"
      "<meta name=\"color-scheme\" content=\"light dark\" />\n"
      "<meta name=\"generator\" content=\"ipav " IPAV_VERSION
      "\" />\n"
      "<title>{}: {}</title>\n<style>\n",
      is_one ? last_ : count, verdicts);
  html.Markup(kPageStyle)
      .Markup(
          "</style>\n</head>\n<body>\n<a class=\"skip\" href=\"#main\">"
          "Skip to the results</a>\n");
  html.Markup(kHatch).Markup(
      "<header>\n<h1>{}</h1>\n<p>{}: {}.</p>\n</header>\n", words_.title, count,
      verdicts);
  if (is_one) return html;
  html.Markup(
      "<nav aria-label=\"{}\">\n<table class=\"list\"><thead><tr>"
      "<th scope=\"col\">{}</th><th scope=\"col\">Verdict</th>"
      "<th scope=\"col\">{}</th></tr></thead>\n<tbody>\n{}</tbody></table>\n"
      "</nav>\n",
      words_.headings, words_.heading, words_.problem, list_);
  return html;
}

void HtmlWriter::End() {
  Write(Head().str(), output_.stream());
  Write("<main id=\"main\">\n", output_.stream());
  std::rewind(sections_.get());
  Copy(sections_.get(), output_.stream());
  Write("</main>\n<footer><p>Written by ipav " IPAV_VERSION
        ".</p></footer>\n</body>\n</html>\n",
        output_.stream());
  if (std::ferror(sections_.get()) != 0) {
    throw std::runtime_error("sections of a page cannot be kept");
  }
  output_.Commit();
}

}  // namespace ipav::cli::report
