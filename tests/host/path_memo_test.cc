#include <confd_lib.h>
#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "tests/host/fixtures.h"

namespace {

using host_test::TestModel;
using ipav::confd::ConfdError;
using ipav::confd::ParsePath;
using ipav::confd::PathMemo;
using ipav::confd::Resolve;
using ipav::confd::Target;
using ipav::datastore::DataTree;

constexpr char kBody[] =
    "container c { list l { key k; leaf k { type string; } "
    "leaf v { type string; } container in { leaf w { type int32; } "
    "list m { key \"a b\"; leaf a { type uint32; } leaf b { type string; } "
    "} } } leaf-list ll { type string; } } "
    "list top { key k; leaf k { type uint32; } leaf v { type string; } }";

std::string Data() {
  std::string xml = "<c NS>";
  for (int i = 0; i < 40; ++i) {
    const std::string number = std::to_string(i);
    xml += "<l><k>e" + number + "</k><v>x</v><in><w>1</w><m><a>1</a><b>p" +
           number + "</b></m></in></l>";
  }
  xml += "<l><k>e 1</k></l><l><k>e/2</k><in><w>2</w></in></l>";
  xml += "<l><k>e}3</k></l></c>";
  for (int i = 0; i < 20; ++i) {
    xml += "<top NS><k>" + std::to_string(i) + "</k></top>";
  }
  return xml;
}

// What a look-up gave: a target, or the code and the text of its error.
struct Found {
  Target target;
  int code = 0;
  std::string error;

  bool operator==(const Found& other) const {
    return target.schema == other.target.schema &&
           target.parent == other.target.parent &&
           target.node == other.target.node &&
           target.has_keys == other.target.has_keys && code == other.code &&
           error == other.error;
  }
};

template <typename Find>
Found Try(const Find& find) {
  try {
    return {find(), 0, ""};
  } catch (const ConfdError& error) {
    return {{}, error.code(), error.what()};
  }
}

// Paths of every kind, good and bad.
const std::vector<std::string>& Paths() {
  static const std::vector<std::string> kPaths = [] {
    std::istringstream all(
        ",/c/l{e1}/v,/c/l{e1}/in/w,/c/l{e1}/in/m{1 p1},"
        "/c/l{e1}/in/m{01 p1}/b,/c/l{e1}/in/m{1  p1 }/a,"
        "/c/l{e11}/in/m{1 p11}/a,/c/l{e2}/in/m{1 p1}/a,/c/l{e39},"
        "/c/l{\"e 1\"}/v,/c/l{e/2}/in/w,/c/l{\"e}3\"}/k,/c/l{e}3}/k,/c/l,"
        "/c/l/v,/c,/c/in,/c/l{e1}x,/c/l{e1}/,/c/l{e1}//v,/c/l{e1,/c/l{},"
        "/c/l{e1 e2},/c{e1},/c/l{none}/in/w,/c/l{none}/in/m{1 p1}/a,"
        "/c/l{none}/in/m/a,/m:c/l{e1}/m:v,/c/l{e1}/vrf,/m:c/l{e1}/v,"
        "/none:c/l{e1}/v,/:c,/c:/l,/top{1}/k,/top{01}/k,/top{20}/v,/top,"
        "/c/ll,/,c/l,/cc,/c/l{e1}/vv");
    std::vector<std::string> paths;
    for (std::string path; std::getline(all, path, ',');) paths.push_back(path);
    return paths;
  }();
  return kPaths;
}

class PathMemoTest : public ::testing::Test {
 protected:
  TestModel model_{kBody};
  DataTree tree_ = model_.Tree(Data());
};

TEST_F(PathMemoTest, FindsWhatAReadFromTheRootFindsWhateverCameBefore) {
  PathMemo memo(tree_);
  // The same cases in every run. NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp)
  std::mt19937 random(20240501);
  std::uniform_int_distribution<std::size_t> any(0, Paths().size() - 1);
  int found = 0;
  int errors = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string& path = Paths().at(any(random));
    const Found expected = Try([&] { return Resolve(tree_, ParsePath(path)); });
    const Found actual = Try([&] { return memo.Find(path); });
    ASSERT_TRUE(actual == expected)
        << path << ": " << actual.error << ", not " << expected.error;
    found += expected.target.node != nullptr ? 1 : 0;
    errors += expected.code != 0 ? 1 : 0;
  }
  EXPECT_GT(found, 5000);
  EXPECT_GT(errors, 5000);
}

}  // namespace
