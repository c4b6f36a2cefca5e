// Fixtures of the host's tests: temporary files, models from a few lines of
// YANG, and trees from a few lines of data.
#ifndef TESTS_HOST_FIXTURES_H_
#define TESTS_HOST_FIXTURES_H_

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include <filesystem>
#include <memory>
#include <string>

#include "host/base/utf8.h"
#include "host/confd/confd_error.h"
#include "host/confd/path.h"
#include "host/datastore/data_tree.h"
#include "host/datastore/input_error.h"
#include "host/datastore/input_text.h"
#include "host/datastore/model.h"
#include "tests/support/temp_dir.h"

namespace host_test {

using ipav::testing::TempDir;

// The text of a module: its namespace is "urn:NAME", its prefix NAME; all that
// an annotation needs is imported.
inline std::string ModuleText(const std::string& name,
                              const std::string& body) {
  return "module " + name +
         " {\n  yang-version 1.1;\n  namespace \"urn:" + name +
         "\";\n  prefix " + name +
         ";\n"
         "  import tailf-common { prefix tailf; }\n"
         "  import ipav-extensions { prefix ipav; }\n"
         "  import ietf-inet-types { prefix inet; }\n"
         "  import ietf-yang-types { prefix yang; }\n" +
         body + "\n}\n";
}

// A folder of modules, with the project's stubs and extensions in its stubs.
class ModelFolder {
 public:
  ModelFolder() {
    namespace fs = std::filesystem;
    const fs::path stubs = fs::path(dir_.path()) / "stubs";
    fs::create_directory(stubs);
    const fs::path yang = IPAV_YANG_DIR;
    fs::create_symlink(yang / "stubs/tailf-common.yang",
                       stubs / "tailf-common.yang");
    fs::create_symlink(yang / "ipav-extensions.yang",
                       stubs / "ipav-extensions.yang");
  }

  const std::string& path() const { return dir_.path(); }

  ModelFolder& Add(const std::string& module, const std::string& body) {
    return AddText(module, ModuleText(module, body));
  }
  ModelFolder& AddText(const std::string& module, const std::string& text) {
    dir_.Write(module + ".yang", text);
    return *this;
  }

  std::unique_ptr<ipav::datastore::Model> Load() const {
    return std::make_unique<ipav::datastore::Model>(path(), IPAV_EXTENSION);
  }

 private:
  TempDir dir_;
};

// The model of one module `m` with that body, and data of it.
class TestModel {
 public:
  explicit TestModel(const std::string& body) {
    folder_.Add("m", body);
    model_ = folder_.Load();
  }

  const ipav::datastore::Model& operator*() const { return *model_; }
  const ipav::datastore::Model* operator->() const { return model_.get(); }

  // A tree of a text, in which NS stands for the namespace declaration.
  ipav::datastore::DataTree Tree(std::string xml) const {
    for (std::size_t at = 0; (at = xml.find(" NS", at)) != std::string::npos;) {
      xml.replace(at, 3, " xmlns=\"urn:m\"");
    }
    if (xml.empty()) return ipav::datastore::DataTree::Empty(*model_);
    return ipav::datastore::DataTree::FromFile(*model_,
                                               files_.Write("data.xml", xml));
  }

 private:
  ModelFolder folder_;
  TempDir files_;
  std::unique_ptr<ipav::datastore::Model> model_;
};

// The project's own model.
inline const ipav::datastore::Model& ProjectModel() {
  static const ipav::datastore::Model kModel(IPAV_YANG_DIR, IPAV_EXTENSION);
  return kModel;
}

// A configuration of it with one l3 interface "a"; what is given begins line 3.
inline std::string L3With(const std::string& leaves) {
  return "<config xmlns=\"urn:vorplex:config\"><interface>\n"
         "<l3 xmlns=\"urn:vorplex:ipapp\"><name>a</name>\n" +
         leaves + "\n</l3></interface></config>\n";
}

inline std::string JsonL3With(const std::string& members) {
  return "{\"vorplex-config:config\": {\"interface\": {\n"
         "\"ipapp:l3\": [{\"name\": \"a\",\n" +
         members + "\n}]}}}\n";
}

// A configuration of it, XML or JSON.
inline ipav::datastore::DataTree ProjectTree(const std::string& text) {
  return ipav::datastore::DataTree::FromText(
      ProjectModel(), ipav::datastore::CheckText("text", text));
}

// The node of the model at a path without keys.
inline const lysc_node& SchemaAt(const ipav::datastore::Model& model,
                                 const std::string& path) {
  return *ipav::confd::ResolveSchema(model, ipav::confd::ParsePath(path))
              .back();
}

// The data node at a path, null when absent.
inline const lyd_node* NodeAt(const ipav::datastore::DataTree& tree,
                              const std::string& path) {
  return ipav::confd::Resolve(tree, ipav::confd::ParsePath(path)).node;
}

// The marked part of the line of a place in a text, by characters.
template <typename Mark>
std::string MarkedIn(const Mark& mark) {
  std::string marked;
  std::size_t character = mark.skipped;
  for (const char c : mark.source_line) {
    if (!ipav::base::IsContinuation(c)) ++character;
    if (character >= mark.column && character < mark.column + mark.length) {
      marked += c;
    }
  }
  return marked;
}

// What() of the InputError that `body` throws; fails the test otherwise.
template <typename Body>
std::string InputErrorOf(const Body& body) {
  try {
    body();
  } catch (const ipav::datastore::InputError& error) {
    return error.what();
  }
  ADD_FAILURE() << "no InputError";
  return "";
}

// The code of the ConfdError that `body` throws, 0 if it throws none.
template <typename Body>
int CodeOf(const Body& body) {
  try {
    body();
  } catch (const ipav::confd::ConfdError& error) {
    EXPECT_STRNE(error.what(), "");
    return error.code();
  }
  return 0;
}

inline testing::AssertionResult Contains(const std::string& text,
                                         const std::string& part) {
  if (text.find(part) != std::string::npos) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "\"" << part << "\" is not in \"" << text << "\"";
}

inline testing::AssertionResult StartsWith(const std::string& text,
                                           const std::string& beginning) {
  if (text.rfind(beginning, 0) == 0) return testing::AssertionSuccess();
  return testing::AssertionFailure()
         << "\"" << text << "\" does not start with \"" << beginning << "\"";
}

}  // namespace host_test

#endif  // TESTS_HOST_FIXTURES_H_
