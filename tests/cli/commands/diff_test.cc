// ipav diff: the list of changes and the calls that they fire, whole.

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

using nlohmann::json;

class DiffTest : public FolderTest {
 protected:
  // The list of changes alone.
  std::string ChangesOf(const std::string& running,
                        const std::string& candidate,
                        const Words& options = {}) const {
    const std::string text =
        OutputOf(Joined({"diff", Write("running.json", L3Json(running)),
                         Write("candidate.json", L3Json(candidate))},
                        options));
    const std::size_t begin = text.find('\n') + 1;
    return text.substr(begin, text.find("\n\n") + 1 - begin);
  }
};

TEST_F(DiffTest, ListsChangesAndTheCallsThatTheyFire) {
  EXPECT_EQ(OutputOf({"diff", kRunning, kBranch + "floor-4-vlan-changed.xml"}),
            "1 change\n"
            "~ /config/interface/l3{users-floor-4}/lower-layer-if/vlan: "
            "204 -> 254\n"
            "\n"
            "2 validation calls\n"
            "static_route_l3_intf_validation\n"
            "  data path: /config/interface/l3\n"
            "  changed: /config/interface/l3/lower-layer-if\n"
            "lower_layer_prot_cross_validation\n"
            "  data path: /config/interface/l3{users-floor-4}/lower-layer-if\n"
            "  changed: /config/interface/l3/lower-layer-if\n");
}

TEST_F(DiffTest, FoldsAListEntryIntoOneLine) {
  EXPECT_THAT(
      OutputOf({"diff", kRunning, kBranch + "floor-7-added.xml"}),
      StartsWith("3 changes\n"
                 "+ /config/interface/l3{users-floor-7} (4 leaves)\n"
                 "+ /internal/ospf-interface-l3"
                 "{10 0.0.0.12 l3-users-floor-7 10.12.7.1} (1 leaf)\n"
                 "+ /internal/ospfv3-interface-l3{1 0.0.0.12 l3-users-floor-7} "
                 "(2 leaves)\n\n10 validation calls\n"));
}

TEST_F(DiffTest, FullListsTheLeavesOfAddedAndDeletedEntries) {
  const std::string entry =
      R"({"name": "a", "vrf": "red", "ipv6": {"address": [{"ip": "::1/8"}]}})";
  EXPECT_EQ(ChangesOf("", entry, {"--full"}),
            "+ /config/interface/l3{a} (2 leaves)\n"
            "+ /config/interface/l3{a}/vrf: red\n"
            "+ /config/interface/l3{a}/ipv6/address{::1/8}\n");
  EXPECT_EQ(ChangesOf(entry, "", {"--full"}),
            "- /config/interface/l3{a} (2 leaves)\n"
            "- /config/interface/l3{a}/vrf: red\n"
            "- /config/interface/l3{a}/ipv6/address{::1/8}\n");
}

// Leaves of the interface `a` before and after, and the change.
TEST_F(DiffTest, ShowsTheOldAndTheNewValueOfALeaf) {
  const struct {
    const char* before;
    const char* after;
    const char* change;
  } rows[] = {{"", R"("vrf": "red")", "+ vrf: red"},
              {R"("vrf": "red")", R"("vrf": "blue")", "~ vrf: red -> blue"},
              {R"("vrf": "blue")", "", "- vrf: blue"},
              // A default.
              {R"("enabled": false)", "", "~ enabled: false -> true (default)"},
              {R"("enabled": true)", "", ""},
              // A value that is not one line of plain text is quoted.
              {R"("description": "x y")", R"("description": "")",
               R"(~ description: x y -> "")"},
              {R"("description": " x")", R"("description": "x\ny")",
               R"(~ description: " x" -> "x\ny")"},
              {R"("description": "x\u009b31m")", R"("description": "x\u202ey")",
               R"(~ description: "x\x9b31m" -> "x\u202ey")"}};
  for (const auto& [before, after, change] : rows) {
    const auto entry = [](const std::string& leaf) {
      return R"({"name": "a")" + (leaf.empty() ? "" : ", " + leaf) + "}";
    };
    std::string expected = change;
    if (!expected.empty()) {
      expected.insert(2, "/config/interface/l3{a}/").append("\n");
    }
    EXPECT_EQ(ChangesOf(entry(before), entry(after)), expected);
  }
}

// With a name that a terminal would interpret.
TEST_F(DiffTest, SaysWhatRunsAtEveryCommit) {
  std::filesystem::copy(IPAV_ROOT "/yang", folder_ / "yang",
                        std::filesystem::copy_options::recursive);
  const std::string module = folder_ / "yang/vorplex-config.yang";
  std::string text = ReadFile(module);
  const std::string head = "prefix vorplex-config;";
  text.insert(text.find(head) + head.size(),
              " import tailf-common { prefix tailf; }");
  text.insert(text.find("container interface {") + 21,
              " tailf:validate any_set { tailf:opaque \"always\u202e\"; }");
  Write("yang/vorplex-config.yang", text);
  EXPECT_EQ(OutputOf({"diff", "--yang", folder_ / "yang", kRunning, kRunning}),
            "no changes\n\n1 validation call\nalways\\u202e\n"
            "  data path: /config/interface\n  runs at every commit\n");
  EXPECT_THAT(OutputOf({"points", "--yang", folder_ / "yang"}),
              HasSubstr("\n  opaque: always\\u202e\n  call-once: false\n"
                        "  dependency: (none: runs at every commit)\n"));
}

TEST_F(DiffTest, WritesJson) {
  const std::string candidate = kBranch + "building-process-renamed.xml";
  EXPECT_EQ(OutputOf({"diff", "--format", "json", kRunning, candidate}),
            "{\n  \"running\": \"" + kRunning + "\",\n  \"candidate\": \"" +
                candidate + R"(",
  "changes": [
    {
      "change": "changed",
      "path": "/internal/ospf-index-to-proc-id{327700}/vrf_name",
      "old": "building",
      "new": "facility"
    }
  ],
  "calls": [
    {
      "point": "ipv4_addr_prot_cross_validation",
      "path": "/internal/ospf-interface-l3",
      "changed": [
        "/internal/ospf-index-to-proc-id"
      ]
    },
    {
      "point": "intf_vrf_validation",
      "path": "/internal/ospf-interface-l3",
      "changed": [
        "/internal/ospf-index-to-proc-id"
      ]
    }
  ]
}
)");
}

TEST_F(DiffTest, JsonCountsTheLeavesOfAnEntry) {
  const json diff = json::parse(OutputOf(
      {"diff", "--format", "json", kRunning, kBranch + "floor-7-added.xml"}));
  const json expected = {{"change", "added"},
                         {"path", "/config/interface/l3{users-floor-7}"},
                         {"leaves", 4}};
  EXPECT_EQ(diff["changes"][0], expected);
  EXPECT_EQ(diff["calls"].size(), 10U);
}

TEST_F(DiffTest, ListsTheCallsThatACommitMakes) {
  unsigned compared = 0;
  for (const auto& file : std::filesystem::directory_iterator(kBranch)) {
    const std::string candidate = file.path();
    const json calls =
        json::parse(OutputOf({"diff", "--format", "json", kRunning, candidate}))
            .at("calls");
    const ProcessResult check =
        Ipav({"check", "--all", "--running", kRunning, candidate});
    EXPECT_THAT(check.out, HasSubstr(" of " + std::to_string(calls.size()) +
                                     " validation calls made"))
        << candidate;
    std::size_t at = 0;
    for (const json& call : calls) {
      const std::string place =
          "  validation point: " + call["point"].get<std::string>() +
          "\n  data path: " + call["path"].get<std::string>() + "\n";
      at = check.out.find(place, at);
      ASSERT_NE(at, std::string::npos) << candidate << ": " << place;
      at += place.size();
    }
    ++compared;
  }
  EXPECT_GE(compared, 40U);
}

}  // namespace

}  // namespace ipav::testing
