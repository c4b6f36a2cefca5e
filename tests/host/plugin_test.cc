#include "host/plugin/plugin.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/host/fixtures.h"

namespace {

using host_test::Contains;
using host_test::TempDir;
using ipav::plugin::Plugin;
using ipav::plugin::PluginError;

std::string PluginFile(const std::string& name) {
  return std::string(IPAV_TEST_PLUGINS) + "/" + name + ".so";
}

// What() of the PluginError that `body` throws.
template <typename Body>
std::string PluginErrorOf(const Body& body) {
  try {
    body();
  } catch (const PluginError& error) {
    std::string what = error.what();
    EXPECT_EQ(what.find('\n'), std::string::npos) << what;
    return what;
  }
  ADD_FAILURE() << "no PluginError";
  return "";
}

std::string LoadError(const std::string& file) {
  return PluginErrorOf([&] { Plugin plugin(file); });
}

TEST(PluginFile, ThatIsNoSharedObjectIsNamed) {
  const TempDir dir;
  for (const std::string& file : {std::string("/nowhere/plugin.so"),
                                  dir.Write("text.so", "just a text\n"),
                                  dir.Write("empty.so", ""), dir.path()}) {
    EXPECT_TRUE(Contains(LoadError(file), file));
  }
}

TEST(PluginFile, WithoutANameIsAnErrorAndNotTheHostItself) {
  const std::string error = LoadError("");
  EXPECT_FALSE(Contains(error, "lib_init")) << error;
}

TEST(PluginFile, InTheWorkingFolderLoadsByItsBareName) {
  const TempDir dir;
  std::filesystem::copy(PluginFile("obeys_opaque"), dir.path() + "/p.so");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  EXPECT_NO_THROW(Plugin("p.so"));
  std::filesystem::current_path(before);
}

TEST(PluginFile, WithoutAnEntryPointTellsWhich) {
  for (const std::string name :
       {"lib_init", "get_validation_point", "validate", "lib_finish"}) {
    const std::string file = PluginFile("lacks_" + name);
    const std::string error = LoadError(file);
    EXPECT_TRUE(Contains(error, file));
    EXPECT_TRUE(Contains(error, name + " "));
  }
}

TEST(ValidationPoint, WithoutANameIsAnErrorThatNamesTheFile) {
  for (const char* name : {"names_nothing", "fails_to_name"}) {
    const Plugin plugin(PluginFile(name));
    EXPECT_TRUE(Contains(PluginErrorOf([&] { plugin.ValidationPoint(); }),
                         PluginFile(name)));
  }
}

}  // namespace
