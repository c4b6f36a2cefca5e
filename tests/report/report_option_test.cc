// `ipav check --report` as its users meet it.

#include "tests/cli/fixture.h"
#include "tests/report/generated.h"
#include "tests/report/page_tree.h"

namespace ipav::testing {

namespace {

class ReportOption : public FolderTest {
 protected:
  ProcessResult Check(const Words& arguments) const {
    return Ipav(Joined({"check", "--report", page_}, arguments));
  }

  // The page of a check of these files; it must be flawless.
  PageTree PageOf(const Words& arguments, int status) const {
    EXPECT_EQ(Check(arguments).status, status);
    EXPECT_EQ(FlawsOf(Page()), Words{});
    return PageTree(Page());
  }

  std::string Page() const { return ReadFile(page_); }

  std::string page_ = folder_ / "page.html";
};

TEST_F(ReportOption, AddsAPageToTheOutputAndChangesNothingElse) {
  const Words files = {"--running", kRunning,
                       kBranch + "office-overlaps-management.xml"};
  EXPECT_EQ(Check(files), Ipav(Joined({"check"}, files)));
  const PageTree tree = PageOf(files, 1);
  EXPECT_EQ(tree.Texts("//h4[@class='text']"),
            Words{"l3 meeting-rooms vrf global ipv4 address 172.31.12.129/25 "
                  "overlaps with mgmt eth0 vrf mgmt ipv4 address "
                  "172.31.12.2/24."});
  EXPECT_EQ(tree.Texts("//div[@class='clash']//tbody//th"),
            (Words{"172.31.12.2/24", "172.31.12.129/25"}));
  EXPECT_EQ(tree.Texts("//table[@class='changes']/tbody//code"),
            Words{"/config/interface/l3{meeting-rooms}/ipv4/address/"
                  "secondary{172.31.12.129/25}"});
}

TEST_F(ReportOption, PutsAllCandidatesOnOnePage) {
  const Words arguments = {
      "--all",
      "--running",
      kCampus + "running.json",
      kCampus + "ra-several-wrong-at-once.json",
      kCampus + "botany-added.json",
      kCampus + "staff-admin-address-removed-under-ospf.json"};
  const PageTree tree = PageOf(arguments, 1);
  EXPECT_EQ(tree.Texts("//nav//td[1]"),
            (Words{"refused", "accepted", "refused"}));
  EXPECT_EQ(tree.Count("//section[@id='d1']//article"), 5U);
  EXPECT_EQ(PageOf(Joined(arguments, {"--failed-only"}), 1)
                .Texts("//nav//th/a/@href"),
            (Words{"#d1", "#d3"}));
}

TEST_F(ReportOption, JudgesAFirstConfiguration) {
  const PageTree tree = PageOf({kRunning}, 0);
  EXPECT_EQ(tree.Texts("//head/title"), Words{kRunning + ": 1 accepted"});
  EXPECT_THAT(Page(), HasSubstr("Judged as a first configuration."));
  EXPECT_THAT(Page(), HasSubstr("since nothing was configured"));
}

class SizedReport : public ReportOption,
                    public ::testing::WithParamInterface<std::size_t> {};

TEST_P(SizedReport, HoldsEveryPrefixOnceInItsPlanAndFirstTheConflict) {
  const std::size_t prefixes = GetParam();
  const PageTree tree =
      PageOf({"--running", Write("running.xml", Configuration(prefixes)),
              Write("candidate.xml", WithIntruder(prefixes))},
             1);
  EXPECT_EQ(tree.Count("//details[contains(@class, 'block')]//tbody/tr") +
                tree.Count("//div[@class='block']"),
            prefixes + 1);
  EXPECT_EQ(tree.Texts("//div[@class='clash']//tbody//th"),
            (Words{"10.0.0.1/24", "10.0.0.129/25"}));
  EXPECT_LT(Page().size(), 60000 + prefixes * 700);
}

INSTANTIATE_TEST_SUITE_P(Prefixes, SizedReport,
                         ::testing::Values(3, 300, 3000));

// --- Pages that are not written

TEST_F(ReportOption, IsNotWrittenIfAnInputIsBad) {
  Write("page.html", "old");
  EXPECT_EQ(Check({folder_ / "missing.xml"}).status, 2);
  EXPECT_EQ(Page(), "old");
}

TEST_F(ReportOption, EndsWithStatus2IfItCannotBeWritten) {
  page_ = folder_ / "no/page.html";
  EXPECT_THAT(Check({"--running", kRunning, kRunning}),
              IsBadInput(page_ + ": the report cannot be written: No such file "
                                 "or directory\n"));
}

}  // namespace

}  // namespace ipav::testing
