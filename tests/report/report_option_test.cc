// `ipav check --report` as its users meet it.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/report/generated.h"
#include "tests/report/page_tree.h"
#include "tests/support/run_process.h"
#include "tests/support/temp_dir.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

const std::string kBranch = IPAV_EXAMPLES "/branch-router/";
const std::string kCampus = IPAV_EXAMPLES "/campus-core/";

class ReportOption : public FolderTest {
 protected:
  ProcessResult Check(Texts arguments) const {
    const Texts begin = {IPAV_PROGRAM, "check", "--report", page_};
    arguments.insert(arguments.begin(), begin.begin(), begin.end());
    return RunProcess(arguments);
  }

  std::string Page() const { return ReadFile(page_); }

  std::string page_ = folder_ / "page.html";
};

TEST_F(ReportOption, AddsAPageToTheOutputAndChangesNothingElse) {
  const Texts files = {"--running", kBranch + "running.xml",
                       kBranch + "office-overlaps-management.xml"};
  const ProcessResult with = Check(files);
  Texts plain = {IPAV_PROGRAM, "check"};
  plain.insert(plain.end(), files.begin(), files.end());
  const ProcessResult without = RunProcess(plain);
  EXPECT_EQ(with.status, 1);
  EXPECT_EQ(with.out, without.out);
  EXPECT_EQ(with.err, "");
  EXPECT_EQ(FlawsOf(Page()), Texts{});
  const PageTree tree(Page());
  EXPECT_EQ(tree.Texts("//h4[@class='text']"),
            Texts{"l3 meeting-rooms vrf global ipv4 address 172.31.12.129/25 "
                  "overlaps with mgmt eth0 vrf mgmt ipv4 address "
                  "172.31.12.2/24."});
  EXPECT_EQ(tree.Texts("//div[@class='clash']//tbody//th"),
            (Texts{"172.31.12.2/24", "172.31.12.129/25"}));
  EXPECT_EQ(tree.Texts("//table[@class='changes']/tbody//code"),
            Texts{"/config/interface/l3{meeting-rooms}/ipv4/address/"
                  "secondary{172.31.12.129/25}"});
}

TEST_F(ReportOption, PutsAllCandidatesOnOnePage) {
  Texts arguments = {"--all",
                     "--running",
                     kCampus + "running.json",
                     kCampus + "ra-several-wrong-at-once.json",
                     kCampus + "botany-added.json",
                     kCampus + "staff-admin-address-removed-under-ospf.json"};
  EXPECT_EQ(Check(arguments).status, 1);
  EXPECT_EQ(FlawsOf(Page()), Texts{});
  const PageTree tree(Page());
  EXPECT_EQ(tree.Texts("//nav//td[1]"),
            (Texts{"refused", "accepted", "refused"}));
  EXPECT_EQ(tree.Count("//section[@id='d1']//article"), 5U);

  arguments.push_back("--failed-only");
  EXPECT_EQ(Check(arguments).status, 1);
  EXPECT_EQ(PageTree(Page()).Texts("//nav//td[1]"),
            (Texts{"refused", "refused"}));
}

TEST_F(ReportOption, JudgesAFirstConfiguration) {
  EXPECT_EQ(Check({kBranch + "running.xml"}).status, 0);
  const PageTree tree(Page());
  EXPECT_EQ(tree.Texts("//head/title"),
            Texts{kBranch + "running.xml: 1 accepted"});
  EXPECT_NE(Page().find("Judged as a first configuration."), std::string::npos);
  EXPECT_NE(Page().find("since nothing was configured"), std::string::npos);
}

TEST_F(ReportOption, WithFailedOnlyHasTheRefusedCandidatesAlone) {
  const std::string accepted = kCampus + "botany-added.json";
  const std::string refused = kCampus + "ra-several-wrong-at-once.json";
  EXPECT_EQ(Check({"--failed-only", "--running", kCampus + "running.json",
                   accepted, refused, accepted, refused})
                .status,
            1);
  EXPECT_EQ(FlawsOf(Page()), Texts{});
  const PageTree tree(Page());
  EXPECT_EQ(tree.Texts("//nav//th/a"), (Texts{refused, refused}));
  EXPECT_EQ(tree.Texts("//nav//th/a/@href"), (Texts{"#d2", "#d4"}));
  EXPECT_EQ(tree.Count("//section[@id='d2' or @id='d4']"), 2U);
}

class SizedReport : public ReportOption,
                    public ::testing::WithParamInterface<std::size_t> {};

TEST_P(SizedReport, HoldsEveryPrefixOnceInItsPlanAndFirstTheConflict) {
  const std::size_t prefixes = GetParam();
  const std::string running = Write("running.xml", Configuration(prefixes));
  EXPECT_EQ(Check({"--running", running,
                   Write("candidate.xml", WithIntruder(prefixes))})
                .status,
            1);
  EXPECT_EQ(FlawsOf(Page()), Texts{});
  const PageTree tree(Page());
  EXPECT_EQ(tree.Count("//details[contains(@class, 'block')]//tbody/tr") +
                tree.Count("//div[@class='block']"),
            prefixes + 1);
  EXPECT_EQ(tree.Texts("//div[@class='clash']//tbody//th"),
            (Texts{"10.0.0.1/24", "10.0.0.129/25"}));
  EXPECT_LT(Page().size(), 60000 + prefixes * 700);
}

INSTANTIATE_TEST_SUITE_P(Prefixes, SizedReport,
                         ::testing::Values(3, 300, 3000));

// --- What is not written

TEST_F(ReportOption, IsNotWrittenWhereAnInputIsBad) {
  const std::string old = Write("page.html", "old");
  const ProcessResult result = Check({folder_ / "missing.xml"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(Page(), "old");
}

TEST_F(ReportOption, EndsWithStatus2WhereItCannotBeWritten) {
  page_ = folder_ / "no/page.html";
  const ProcessResult result =
      Check({"--running", kBranch + "running.xml", kBranch + "running.xml"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "ipav: " + page_ +
                            ": the report cannot be written: No such file or "
                            "directory\n");
}

TEST_F(ReportOption, IsWrittenToADeviceThatStaysOne) {
  page_ = "/dev/null";
  const ProcessResult result = Check({kBranch + "running.xml"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

}  // namespace

}  // namespace ipav::testing
