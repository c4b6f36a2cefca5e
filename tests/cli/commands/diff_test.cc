// ipav diff: the list of changes and the calls that they fire, whole.

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/cli/commands/fixture.h"

namespace ipav::testing {

namespace {

using nlohmann::json;

constexpr char kNothing[] = "no changes\n\nno validation calls\n";

class DiffTest : public CommandTest {
 protected:
  // The list of changes alone.
  std::string ChangesOf(const std::string& running,
                        const std::string& candidate,
                        const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments = {
        "diff", Write("running.json", L3Json(running)),
        Write("candidate.json", L3Json(candidate))};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const std::string text = OutputOf(arguments);
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
  const std::string text =
      OutputOf({"diff", kRunning, kBranch + "floor-7-added.xml"});
  EXPECT_EQ(text.substr(0, text.find("\n\n")),
            "3 changes\n"
            "+ /config/interface/l3{users-floor-7} (4 leaves)\n"
            "+ /internal/ospf-interface-l3"
            "{10 0.0.0.12 l3-users-floor-7 10.12.7.1} (1 leaf)\n"
            "+ /internal/ospfv3-interface-l3{1 0.0.0.12 l3-users-floor-7} "
            "(2 leaves)");
  EXPECT_NE(text.find("\n10 validation calls\n"), std::string::npos) << text;
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

TEST_F(DiffTest, LeafComesChangesAndGoes) {
  const std::string bare = R"({"name": "a"})";
  const std::string red = R"({"name": "a", "vrf": "red"})";
  const std::string blue = R"({"name": "a", "vrf": "blue"})";
  EXPECT_EQ(ChangesOf(bare, red), "+ /config/interface/l3{a}/vrf: red\n");
  EXPECT_EQ(ChangesOf(red, blue),
            "~ /config/interface/l3{a}/vrf: red -> blue\n");
  EXPECT_EQ(ChangesOf(blue, bare), "- /config/interface/l3{a}/vrf: blue\n");
}

TEST_F(DiffTest, NamesAValueThatIsInForceByDefault) {
  EXPECT_EQ(ChangesOf(R"({"name": "a", "enabled": false})", R"({"name": "a"})"),
            "~ /config/interface/l3{a}/enabled: false -> true (default)\n");
  EXPECT_EQ(ChangesOf(R"({"name": "a", "enabled": true})", R"({"name": "a"})"),
            "");
}

TEST_F(DiffTest, QuotesAValueThatIsMoreThanALineOfText) {
  EXPECT_EQ(ChangesOf(R"({"name": "a", "description": "x y"})",
                      R"({"name": "a", "description": ""})"),
            "~ /config/interface/l3{a}/description: x y -> \"\"\n");
  EXPECT_EQ(ChangesOf(R"({"name": "a", "description": " x"})",
                      R"({"name": "a", "description": "x\ny"})"),
            "~ /config/interface/l3{a}/description: \" x\" -> \"x\\ny\"\n");
  EXPECT_EQ(ChangesOf(R"({"name": "a", "description": "x\u009b31m"})",
                      R"({"name": "a", "description": "x\u202ey"})"),
            "~ /config/interface/l3{a}/description: \"x\\x9b31m\" -> "
            "\"x\\u202ey\"\n");
}

TEST_F(DiffTest, SaysThatNothingChanged) {
  EXPECT_EQ(OutputOf({"diff", kRunning, kRunning}), kNothing);
}

TEST_F(DiffTest, SaysWhatRunsAtEveryCommit) {
  std::filesystem::copy(IPAV_ROOT "/yang", folder_ / "yang",
                        std::filesystem::copy_options::recursive);
  const std::string module = folder_ / "yang/vorplex-config.yang";
  std::string text = ReadFile(module);
  const std::string head = "prefix vorplex-config;";
  text.insert(text.find(head) + head.size(),
              " import tailf-common { prefix tailf; }");
  text.insert(text.find("container interface {") + 21,
              " tailf:validate any_set { tailf:opaque always; }");
  Write("yang/vorplex-config.yang", text);
  EXPECT_EQ(OutputOf({"diff", "--yang", folder_ / "yang", kRunning, kRunning}),
            "no changes\n\n1 validation call\nalways\n"
            "  data path: /config/interface\n  runs at every commit\n");
}

TEST_F(DiffTest, WritesJson) {
  const std::string candidate = kBranch + "building-process-renamed.xml";
  EXPECT_EQ(OutputOf({"diff", "--format", "json", kRunning, candidate}),
            "{\n"
            "  \"running\": \"" +
                kRunning +
                "\",\n"
                "  \"candidate\": \"" +
                candidate +
                "\",\n"
                R"(  "changes": [
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
    const std::string count = std::to_string(calls.size());
    EXPECT_NE(check.out.find(" of " + count + " validation calls made"),
              std::string::npos)
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

TEST_F(DiffTest, FailsWhereAFileCannotBeRead) {
  const ProcessResult result = Ipav({"diff", kRunning, folder_ / "none.xml"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err.find("ipav: " + (folder_ / "none.xml").string() + ": "),
            0U)
      << result.err;
}

TEST_F(DiffTest, RefusesAnUnknownFormat) {
  const ProcessResult result =
      Ipav({"diff", "--format", "yaml", kRunning, kRunning});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            "ipav: --format: yaml not in {text,json} (see ipav diff --help)\n");
}

}  // namespace

}  // namespace ipav::testing
