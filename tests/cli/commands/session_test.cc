// ipav session: requests and their answers.

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "tests/cli/fixture.h"

namespace ipav::testing {

namespace {

using Json = nlohmann::ordered_json;

class SessionTest : public FolderTest {
 protected:
  // The answers to these lines.
  std::vector<Json> Answers(const std::vector<std::string>& lines,
                            const std::string& options = "") {
    std::string input;
    for (const std::string& line : lines) input += line + "\n";
    const std::string requests = Write("requests", input);
    const ProcessResult result =
        Shell(IPAV_PROGRAM " session " + options + " < " + requests);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    std::vector<Json> answers;
    std::istringstream output(result.out);
    for (std::string line; std::getline(output, line);) {
      answers.push_back(Json::parse(line));
    }
    return answers;
  }

  // A request that does not end by itself.
  std::string Endless() {
    const std::string pipe = folder_ / "pipe";
    EXPECT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
    return R"({"id": 1, "arguments": ["check", ")" + pipe + "\"]}\n";
  }
};

Json Answer(const Json& id, int status, const std::string& output,
            const std::string& errors) {
  return {
      {"id", id}, {"status", status}, {"output", output}, {"errors", errors}};
}

TEST_F(SessionTest, AnswersAsTheCommandsDo) {
  const std::string good = ReadFile(kRunning);
  const std::string bad = kBranch + "address-is-network.xml";
  const Words check = {"check", "--running", kRunning, bad};
  const Words texts = {"check", "--running", "old.xml", "new.xml"};
  const Words fix = {"fix",       "--write", "--suggested",
                     "--running", kRunning,  bad};
  const ProcessResult refused = Ipav(check);
  EXPECT_EQ(refused.status, 1);
  const std::vector<std::pair<Json, Json>> table = {
      {{{"id", 1}, {"arguments", check}},
       Answer(1, 1, refused.out, refused.err)},
      {{{"id", 2.5}, {"arguments", {"points"}}},
       Answer(2.5, 0, OutputOf({"points"}), "")},
      {{{"id", "texts"},
        {"arguments", texts},
        {"texts", {{"old.xml", good}, {"new.xml", good}}}},
       Answer("texts", 0, "new.xml: accepted (0 of 0 validation calls made)\n",
              "")},
      {{{"id", "places"},
        {"arguments", texts},
        {"texts", {{"old.xml", good}, {"new.xml", "<a>\n<b"}}}},
       Answer("places", 2, "",
              "ipav: new.xml:2:3: no well-formed XML: the text ends before "
              "</a>\n")},
      {{{"arguments", texts}},
       Answer(nullptr, 2, "", "ipav: old.xml: No such file or directory\n")},
      {{{"arguments", fix}, {"texts", {{bad, ReadFile(bad)}}}},
       Answer(nullptr, 2, "",
              "ipav: " + bad + ": --write needs a regular file\n")},
      {{{"arguments", {"explain", "-"}}},
       Answer(nullptr, 2, "", "ipav: <stdin>: cannot be read in a session\n")},
      {{{"arguments", {"session"}}},
       Answer(nullptr, 2, "", "ipav: session does not run in a session\n")},
      {{{"arguments", {"completion", "bash"}}},
       Answer(nullptr, 2, "", "ipav: completion does not run in a session\n")},
      {{{"arguments", Json::array()}},
       Answer(nullptr, 2, "",
              "ipav: A command is required (see ipav --help)\n")},
  };
  std::vector<std::string> requests;
  std::vector<Json> expected;
  for (const auto& [request, answer] : table) {
    requests.push_back(request.dump());
    expected.push_back(answer);
  }
  EXPECT_EQ(Answers(requests), expected);
}

TEST_F(SessionTest, SurvivesWrongLines) {
  const Json not_json =
      Answer(nullptr, 2, "", "ipav: the request is not a JSON object\n");
  const Json wrong = Answer(
      7, 2, "",
      "ipav: a request has a list of strings 'arguments', and may have an "
      "object of strings 'texts'\n");
  const Json wrong_id =
      Answer(nullptr, 2, "", "ipav: the id is neither a number nor a string\n");
  const auto deep = [](std::size_t depth) {
    return R"({"id": 7, "texts": )" + std::string(depth, '[') + "\"]{\\\"\"" +
           std::string(depth, ']') + "}";
  };
  const std::string version = R"({"id": 8, "arguments": ["--version"]})";
  const Json good = Answer(8, 0, OutputOf({"--version"}), "");
  const std::vector<std::pair<std::string, Json>> table = {
      {"", not_json},
      {"[]", not_json},
      {"{\"id\": 7", not_json},
      {"{\"id\": \"\xff\"}", not_json},
      {deep(128), not_json},
      {deep(200000), not_json},
      {deep(127), wrong},
      {R"({"id": [7], "arguments": []})", wrong_id},
      {R"({"id": true, "edits": []})", wrong_id},
      {R"({"id": 7})", wrong},
      {R"({"id": 7, "arguments": "check"})", wrong},
      {R"({"id": 7, "arguments": ["check", 1]})", wrong},
      {R"({"id": 7, "arguments": [], "texts": ["a"]})", wrong},
      {version, good},
  };
  std::vector<std::string> lines;
  std::vector<Json> expected;
  for (const auto& [line, answer] : table) {
    lines.push_back(line);
    expected.push_back(answer);
  }
  EXPECT_EQ(Answers(lines), expected);
}

// The report of a check without the files, positions and advice.
Json WithoutFiles(Json report) {
  for (const char* name : {"number", "candidate", "running", "advice"}) {
    report.erase(name);
  }
  for (Json& finding : report["findings"]) {
    for (Json& culprit : finding["culprits"]) culprit.erase("place");
  }
  return report;
}

TEST_F(SessionTest, JudgesEditsAsTheEditedFiles) {
  const std::string l3 = "/config/interface/l3";
  const auto set = [](const std::string& path, const std::string& value) {
    return Json{{"path", path}, {"value", value}};
  };
  const auto remove = [](const std::string& path) {
    return Json{{"path", path}};
  };
  // What each example changes.
  const std::pair<std::string, std::vector<Json>> cases[] = {
      {"running", {}},
      {"address-is-network",
       {set(l3 + "{printers}/ipv4/address/ip", "10.12.50.0/24")}},
      {"lte-vlan-removed", {remove(l3 + "{lte-backup}/lower-layer-if/vlan")}},
      {"lte-vlan-and-route-removed",
       {remove(l3 + "{lte-backup}/lower-layer-if/vlan"),
        remove("/DC-RTM-MIB/rtmStaticRtTable/rtmStaticRtEntry"
               "{0 ipv4 0a:00:00:00 8 ipv4 c0:00:02:20}"),
        remove("/rtmStaticRtEntry-global{0 0a:00:00:00 8 c0:00:02:20}")}},
      {"address-is-network",
       {set(l3 + "{printers}/mtu", "1300"), set(l3 + "{printers}/mtu", "1500"),
        set(l3 + "{printers}/ipv4/address/ip", "10.12.50.0/24")}}};
  std::vector<std::string> requests;
  for (const auto& [example, edits] : cases) {
    Json request = {{"id", example}, {"edits", edits}};
    if (requests.size() == 3) {  // for this one and the next
      request["running"] = "text";
      request["texts"] = {{"text", ReadFile(kRunning)}};
    }
    requests.push_back(request.dump());
  }
  const std::vector<Json> answers = Answers(requests, "--running " + kRunning);
  ASSERT_EQ(answers.size(), std::size(cases));
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const std::string& example = cases[i].first;
    SCOPED_TRACE(example);
    const ProcessResult check =
        Ipav({"check", "--all", "--format", "json", "--running", kRunning,
              kBranch + example + ".xml"});
    EXPECT_EQ(answers[i].at("id"), example);
    EXPECT_EQ(answers[i].at("status"), check.status) << answers[i];
    EXPECT_EQ(answers[i].at("errors"), "");
    const Json report = Json::parse(answers[i].at("output").get<std::string>());
    EXPECT_EQ(report.at("running"), i < 3 ? kRunning : "text");
    EXPECT_EQ(WithoutFiles(report),
              WithoutFiles(Json::parse(check.out).at("devices").at(0)));
  }
}

TEST_F(SessionTest, NamesTheEditThatCannotBeMade) {
  const std::string wrong =
      "'edits' is a list of objects with the string 'path', which may have a "
      "string 'value'";
  const std::pair<Json, std::string> cases[] = {
      {nullptr, wrong},
      {Json::object(), wrong},
      {{{{"path", "/config/interface/l9"}}},
       "/config/interface/l9: bad path: l9 is unknown to the model"},
      {{{{"path", "/config/interface/l3{none}"}}},
       "/config/interface/l3{none}: there is no such node"},
      {{{{"value", "1"}}}, wrong},
      {{{{"path", "/config"}, {"value", 1}}}, wrong}};
  for (const auto& [edits, error] : cases) {
    EXPECT_EQ(Answers({Json{{"edits", edits}}.dump()}, "--running " + kRunning),
              std::vector{Answer(nullptr, 2, "", "ipav: " + error + "\n")});
  }
  const std::pair<std::string, std::string> sessions[] = {
      {R"({"edits": []})", "edits need a session with --running"},
      {R"({"edits": [], "running": 1})",
       "'running' is a string, and 'texts' an object of strings"},
      {R"({"edits": [], "running": "r", "texts": {"r": "<a>\n<b"}})",
       "r:2:3: no well-formed XML"}};
  for (const auto& [line, error] : sessions) {
    const Json answer = Answers({line}).at(0);
    EXPECT_EQ(answer.at("status"), 2);
    EXPECT_THAT(answer.at("errors").get<std::string>(),
                ::testing::StartsWith("ipav: " + error));
  }
}

TEST_F(SessionTest, SkipsALineThatIsTooLong) {
  const std::string requests =
      Write("requests", R"({"arguments": ["points"]})");
  const ProcessResult result =
      Shell("{ head -c 134217729 /dev/zero; echo; cat " + requests +
            "; } | " IPAV_PROGRAM " session");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            Answer(nullptr, 2, "",
                   "ipav: the request is longer than 134217728 bytes\n")
                    .dump() +
                "\n" + Answer(nullptr, 0, OutputOf({"points"}), "").dump() +
                "\n");
}

TEST_F(SessionTest, SurvivesACommandThatIsKilled) {
  const std::string requests =
      Write("requests", Endless() + R"({"id": 2, "arguments": ["--version"]})");
  const ProcessResult result =
      Shell(IPAV_PROGRAM " session < " + requests +
            " & session=$!\n"
            "until command=$(cat /proc/$session/task/$session/children);"
            " [ -n \"$command\" ]; do sleep 0.01; done\n"
            "kill -KILL $command; wait $session");
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(
      result.out,
      R"({"id":1,"status":3,"output":"","errors":"ipav: the command was killed )"
      R"(by signal: Killed\n"})"
      "\n" +
          Answer(2, 0, OutputOf({"--version"}), "").dump() + "\n");
}

TEST_F(SessionTest, EndsItsCommandIfNobodyReadsTheAnswer) {
  const std::string requests = Write("requests", Endless());
  EXPECT_EQ(Shell("set -o pipefail; " IPAV_PROGRAM " session < " + requests +
                  " | true"),
            (ProcessResult{2, "", "ipav: the answers cannot be written\n"}));
  EXPECT_THAT(Ipav({"session", "--yang", "/nowhere"}),
              IsBadInput("/nowhere: cannot be searched for YANG modules"));
}

}  // namespace

}  // namespace ipav::testing
