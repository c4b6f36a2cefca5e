#include "cli/plan/step_files.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "cli/plan/edit_config.h"
#include "cli/report/output_file.h"

namespace ipav::cli::plan {

void RequireNew(const std::string& folder) {
  std::error_code error;
  if (folder == "-") {
    throw std::runtime_error("--output is a folder, not standard output");
  }
  if (!std::filesystem::exists(folder, error)) return;
  if (!std::filesystem::is_directory(folder, error) ||
      !std::filesystem::is_empty(folder, error)) {
    throw std::runtime_error(folder + ": is not an empty folder");
  }
}

void StepFiles::Write(std::size_t number, const std::string& configuration,
                      const datastore::Diff& diff) {
  if (folder_.empty()) return;
  const std::string name = "step-" + std::to_string(number);
  WriteFile(name + (format_ == LYD_JSON ? ".json" : ".xml"), configuration);
  WriteFile(name + ".edit.xml", EditConfig(diff));
}

void StepFiles::End(const std::string& report) {
  if (!folder_.empty()) WriteFile("plan.json", report);
}

void StepFiles::WriteFile(const std::string& name, const std::string& text) {
  std::error_code error;
  std::filesystem::create_directories(folder_, error);  // the file says why not
  report::OutputFile file(folder_ + "/" + name, "plan");
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), file.stream()));
  file.Commit();
}

}  // namespace ipav::cli::plan
