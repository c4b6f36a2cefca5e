// The bundled examples end as the tables of their README say.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "tests/support/run_process.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

// A row of a table: | `file` | change | verdict | text |
struct Row {
  std::string folder;  // of the section that the row stands in
  std::string file;
  std::string verdict;
  std::string text;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.folder << "/" << row.file;
}

std::vector<std::string> Cells(const std::string& line) {
  std::vector<std::string> cells;
  std::size_t begin = 1;
  for (std::size_t end = line.find('|', begin); end != std::string::npos;
       begin = end + 1, end = line.find('|', begin)) {
    const std::string cell = line.substr(begin, end - begin);
    const std::size_t first = cell.find_first_not_of(' ');
    cells.push_back(
        first == std::string::npos
            ? ""
            : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
  }
  return cells;
}

std::vector<Row> ReadRows() {
  std::vector<Row> rows;
  std::ifstream file(IPAV_EXAMPLES "/README.md");
  std::string folder;
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("## ", 0) == 0) {
      folder = line.substr(3, line.find(' ', 3) - 3);
    }
    if (line.rfind("| `", 0) != 0) continue;
    const std::vector<std::string> cells = Cells(line);
    if (cells.size() != 4) continue;
    const std::string name = cells[0].substr(1, cells[0].size() - 2);
    if (name.find('.') == std::string::npos) continue;  // not a file
    rows.push_back({folder, name, cells[2], cells[3]});
  }
  return rows;
}

class Example : public ::testing::TestWithParam<Row> {};

TEST_P(Example, EndsAsItsReadmeSays) {
  const Row& row = GetParam();
  const fs::path folder = fs::path(IPAV_EXAMPLES) / row.folder;
  const std::string running =
      folder / ("running" + fs::path(row.file).extension().string());
  const std::string candidate = folder / row.file;
  const ProcessResult result =
      RunProcess({IPAV_PROGRAM, "check", "--running", running, candidate});
  ASSERT_TRUE(row.verdict == "accepted" || row.verdict == "refused");
  EXPECT_EQ(result.status, row.verdict == "accepted" ? 0 : 1);
  EXPECT_EQ(result.out.find(candidate + ": " + row.verdict + " ("), 0U)
      << result.out;
  if (row.verdict == "refused") {
    EXPECT_NE(result.out.find("\n" + row.text + "\n"), std::string::npos)
        << result.out;
  }
}

INSTANTIATE_TEST_SUITE_P(Table, Example, ::testing::ValuesIn(ReadRows()));

TEST(Examples, AreAllInTheReadme) {
  std::set<std::string> told;
  for (const Row& row : ReadRows()) told.insert(row.folder + "/" + row.file);
  std::set<std::string> there;
  for (const char* folder : {"branch-router", "campus-core"}) {
    for (const auto& file :
         fs::directory_iterator(fs::path(IPAV_EXAMPLES) / folder)) {
      if (file.path().stem() == "running") continue;
      there.insert(std::string(folder) + "/" + file.path().filename().string());
    }
  }
  EXPECT_EQ(told, there);
}

}  // namespace

}  // namespace ipav::testing
