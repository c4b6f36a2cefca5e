// Every folder of cases through the real program and the real plug-in.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/run_process.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

struct Case {
  std::string point;  // folder of the validation point
  std::string name;
  fs::path folder;
};

void PrintTo(const Case& test, std::ostream* out) { *out << test.folder; }

std::vector<Case> FindCases() {
  std::vector<Case> cases;
  for (const auto& point : fs::directory_iterator(IPAV_CASES)) {
    if (!point.is_directory()) continue;
    for (const auto& folder : fs::directory_iterator(point)) {
      cases.push_back(
          {point.path().filename(), folder.path().filename(), folder.path()});
    }
  }
  std::sort(cases.begin(), cases.end(),
            [](const Case& a, const Case& b) { return a.folder < b.folder; });
  return cases;
}

std::string FileOf(const Case& test, const std::string& stem) {
  for (const char* extension : {".xml", ".json"}) {
    const fs::path file = test.folder / (stem + extension);
    if (fs::exists(file)) return file;
  }
  ADD_FAILURE() << test.folder << " has no " << stem;
  return "";
}

std::string Read(const fs::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

class E2e : public ::testing::TestWithParam<Case> {};

TEST_P(E2e, EndsAsTheFolderSays) {
  const Case& test = GetParam();
  const std::string candidate = FileOf(test, "candidate");
  const ProcessResult result = RunProcess(
      {IPAV_PROGRAM, "check", "--running", FileOf(test, "running"), candidate});
  EXPECT_EQ(result.err, "");

  const fs::path expected = test.folder / "expect.txt";
  if (!fs::exists(expected)) {
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out.find(candidate + ": accepted ("), 0U) << result.out;
    return;
  }
  EXPECT_EQ(result.status, 1);
  // The verdict, the operator's text as it stands, the point, the path.
  const std::string text = Read(expected);
  EXPECT_EQ(result.out.find(candidate + ": refused ("), 0U) << result.out;
  const std::size_t second_line = result.out.find('\n') + 1;
  const std::string place = text + "  validation point: " + test.point + "\n";
  EXPECT_EQ(result.out.substr(second_line, place.size()), place);
}

// An empty folder of cases would pass in silence.
TEST(E2eCases, AreThere) { EXPECT_GE(FindCases().size(), 731U); }

std::string NameOf(const ::testing::TestParamInfo<Case>& info) {
  std::string name = info.param.point + "_" + info.param.name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Folder, E2e, ::testing::ValuesIn(FindCases()), NameOf);

}  // namespace

}  // namespace ipav::testing
