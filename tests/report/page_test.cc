// The page of handmade reports.

#include <confd_lib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "cli/report/html/device_html.h"
#include "cli/report/html/html.h"
#include "cli/report/restart_findings.h"
#include "host/datastore/diff.h"
#include "host/view/address_plan.h"
#include "host/view/change_list.h"
#include "tests/host/fixtures.h"
#include "tests/report/interfaces_tree.h"
#include "tests/report/page_tree.h"

namespace {

using host_test::TempDir;
using ipav::cli::kBadInput;
using ipav::cli::kPluginFailed;
using ipav::cli::kRefused;
using ipav::cli::report::DeviceReport;
using ipav::cli::report::DeviceView;
using ipav::cli::report::EntryOf;
using ipav::cli::report::HtmlWriter;
using ipav::cli::report::kCheckPage;
using ipav::datastore::DataTree;
using ipav::datastore::Diff;
using ipav::datastore::Novelty;
using ipav::messages::Culprit;
using ipav::messages::Finding;
using ipav::messages::Place;
using ipav::testing::FlawsOf;
using ipav::testing::PageTree;
using ipav::testing::Tree;

using Texts = std::vector<std::string>;

constexpr char kIntruderPath[] =
    "/config/interface/l3{intruder}/ipv4/address/ip";

Culprit MakeCulprit(const std::string& role, const std::string& path,
                    const std::string& value, Novelty novelty,
                    const Place& place) {
  Culprit culprit;
  culprit.role = role;
  culprit.path = path;
  culprit.value = value;
  culprit.novelty = novelty;
  culprit.place = place;
  return culprit;
}

Finding Overlap() {
  Finding finding;
  finding.text = "l3 office overlaps with l3 intruder.";
  finding.point = "ipv4_addr_validation";
  finding.path = "/config/interface/l3";
  finding.rule = "interface-overlap";
  finding.title = "Interfaces overlap";
  finding.advice = "Give one of them another subnet.";
  finding.anchor = "interfaces-overlap";
  finding.culprits = {
      MakeCulprit("address", "/config/interface/l3{office}/ipv4/address/ip",
                  "10.0.0.1/24", Novelty::kUnchanged,
                  {"candidate.xml", 7, 9, 11, "    <ip>10.0.0.1/24</ip>"}),
      MakeCulprit("overlaps with", kIntruderPath, "10.0.0.129/25",
                  Novelty::kAdded,
                  {"candidate.xml", 19, 5, 13, "<ip>10.0.0.129/25</ip>"})};
  return finding;
}

DeviceReport Refused(std::vector<Finding> findings) {
  DeviceReport device;
  device.number = 1;
  device.running = "running.xml";
  device.candidate = "candidate.xml";
  device.status = kRefused;
  device.outcome.planned = 3;
  device.outcome.answers.resize(2);
  device.findings = std::move(findings);
  return device;
}

std::string L3(const std::string& name, const std::string& ip,
               const std::string& more = "") {
  return "<l3 xmlns=\"urn:vorplex:ipapp\"><name>" + name + "</name>" + more +
         "<ipv4><address><ip>" + ip + "</ip></address></ipv4></l3>";
}

DeviceView View(const std::string& running, const std::string& candidate,
                const std::vector<Finding>& findings) {
  const DataTree before = Tree(running);
  const DataTree after = Tree(candidate);
  return {ipav::view::ListChanges(Diff(before, after)),
          ipav::view::PlanOf(before, after,
                             ipav::messages::CulpritPaths(findings))};
}

DeviceView OverlapView() {
  const std::string office = L3("office", "10.0.0.1/24");
  return View(office + L3("old", "10.9.0.1/24"),
              office + L3("intruder", "10.0.0.129/25"), {Overlap()});
}

template <typename Fill>
std::string PageOf(const Fill& fill) {
  const TempDir folder;
  const std::string path = folder.path() + "/page.html";
  HtmlWriter writer(path, kCheckPage);
  fill(&writer);
  writer.End();
  return ipav::testing::ReadFile(path);
}

DeviceReport WithSection(DeviceReport device, const DeviceView& view) {
  device.page_section = DeviceSection(device, &view).str();
  return device;
}

std::string PageOf(const DeviceReport& device, const DeviceView& view) {
  return PageOf([&](HtmlWriter* writer) {
    writer->Add(EntryOf(WithSection(device, view)));
  });
}

std::string OverlapPage() {
  return PageOf(Refused({Overlap()}), OverlapView());
}

bool Has(const Texts& texts, const std::string& text) {
  return std::find(texts.begin(), texts.end(), text) != texts.end();
}

// --- Findings

TEST(Page, IsFlawless) { EXPECT_EQ(FlawsOf(OverlapPage()), Texts{}); }

TEST(Page, ShowsTheTextVerbatimAndWhatToDo) {
  const PageTree tree(OverlapPage());
  EXPECT_EQ(tree.Texts("//article/h4"),
            Texts{"l3 office overlaps with l3 intruder."});
  EXPECT_EQ(tree.Texts("//article/dl/dd"),
            (Texts{"Give one of them another subnet.", "Interfaces overlap",
                   "ipv4_addr_validation", "/config/interface/l3",
                   "docs/messages.md#interfaces-overlap"}));
}

TEST(Page, ShowsBothSidesWithTheirSourceLinesMarked) {
  const PageTree tree(OverlapPage());
  EXPECT_EQ(tree.Texts("//li[@class='side']//strong"),
            (Texts{"address", "overlaps with"}));
  EXPECT_EQ(tree.Texts("//li[@class='side']//code[@class='value']"),
            (Texts{"10.0.0.1/24", "10.0.0.129/25"}));
  EXPECT_EQ(tree.Texts("//li[@class='side']//span[starts-with(@class,"
                       "'badge')]"),
            (Texts{"unchanged", "added"}));
  EXPECT_EQ(tree.Texts("//li[@class='side']/p[@class='file']"),
            (Texts{"candidate.xml:7:9", "candidate.xml:19:5"}));
  EXPECT_EQ(tree.Texts("//pre/code"),
            (Texts{"<ip>10.0.0.1/24</ip>", "<ip>10.0.0.129/25</ip>"}));
  EXPECT_EQ(tree.Texts("//pre//mark"), (Texts{"10.0.0.1/24", "10.0.0.129/25"}));
}

TEST(Page, MarksCharactersNotBytes) {
  Finding finding = Overlap();
  finding.culprits[0].place = {"c.xml", 1, 4, 2, "Zür東京 x"};
  const PageTree tree(PageOf(Refused({finding}), {}));
  EXPECT_EQ(tree.Texts("//mark")[0], "東京");
}

TEST(Page, SurvivesAPlaceOutsideOfItsLine) {
  Finding finding = Overlap();
  finding.culprits[0].place = {"c.xml", 1, 400, 20, "short"};
  finding.culprits[1].place = {"c.xml", 1, 0, 20, "short"};
  const std::string page = PageOf(Refused({finding}), {});
  EXPECT_EQ(FlawsOf(page), Texts{});
  const PageTree tree(page);
  EXPECT_EQ(tree.Texts("//pre/code"), (Texts{"short", "short"}));
  EXPECT_EQ(tree.Texts("//mark"), (Texts{"", "short"}));
}

TEST(Page, CutsALineWithoutAnEndAroundTheMark) {
  Finding finding = Overlap();
  const std::string line =
      std::string(5000, 'a') + "MARK" + std::string(5000, 'b');
  finding.culprits[0].place = {"c.json", 1, 5001, 4, line};
  // As a source has it, which keeps only a part of such a line.
  finding.culprits[1].place = {"c.json", 1, 5001, 4, "aaMARKb", 4998};
  const PageTree tree(PageOf(Refused({finding}), {}));
  EXPECT_EQ(
      tree.Texts("//pre/code"),
      (Texts{"…" + std::string(80, 'a') + "MARK" + std::string(80, 'b') + "…",
             "…aaMARKb"}));
  EXPECT_EQ(tree.Texts("//mark"), (Texts{"MARK", "MARK"}));
}

TEST(Page, SaysWhyCulpritsAreMissing) {
  Finding finding = Overlap();
  finding.culprits.clear();
  finding.note = "Not found in the data.";
  const PageTree tree(PageOf(Refused({finding}), {}));
  EXPECT_EQ(tree.Texts("//p[@class='note']"), Texts{"Not found in the data."});
  finding.note.clear();
  finding.is_standing = true;
  EXPECT_EQ(
      PageTree(PageOf(Refused({finding}), {})).Texts("//p[@class='note']"),
      Texts{"not caused by this change: the fault was there before"});
}

TEST(Page, LeadsFromAFindingToItsAddressAndBack) {
  const PageTree tree(OverlapPage());
  EXPECT_EQ(tree.Texts("//article//a/@href"), Texts{"#d1-f1-plan"});
  EXPECT_EQ(tree.Texts("//tr[.//@id='d1-f1-plan']/th"), Texts{"10.0.0.1/24"});
  EXPECT_EQ(tree.Texts("//tr//a/@href"), (Texts{"#d1-f1", "#d1-f1"}));
}

TEST(Page, GivesEachOfTwoFindingsOfOneAddressItsWayToIt) {
  const std::string page =
      PageOf(Refused({Overlap(), Overlap()}),
             View("", L3("office", "10.0.0.1/24"), {Overlap(), Overlap()}));
  EXPECT_EQ(FlawsOf(page), Texts{});
  EXPECT_EQ(PageTree(page).Texts("//article//a/@href"),
            (Texts{"#d1-f1-plan", "#d1-f2-plan"}));
}

TEST(Page, ListsTheFaultsAfterARestartByTheirState) {
  Finding of_change;
  of_change.text = "no";
  Finding standing = Overlap();
  standing.is_standing = true;
  DeviceReport device = Refused({of_change});
  device.restart.emplace().faults = {{of_change, standing}, {Overlap()}};
  DeviceReport healed = Refused({});
  healed.number = 2;
  healed.restart.emplace().faults.healed = {Overlap()};
  DeviceView view = OverlapView();
  view.plan = ipav::view::PlanOf(Tree(""), Tree(L3("office", "10.0.0.1/24")),
                                 ipav::cli::report::PathsOfFindings(device));
  const std::string page = PageOf([&](HtmlWriter* writer) {
    writer->Add(EntryOf(WithSection(device, view)));
    writer->Add(EntryOf(WithSection(healed, {})));
  });
  EXPECT_EQ(FlawsOf(page), Texts{});
  const PageTree tree(page);
  const std::string after =
      "fter a restart, the device would refuse this configuration";
  const std::string healed_heading =
      "Healed by this change: after a restart, the device would refuse the "
      "running configuration";
  EXPECT_EQ(tree.Texts("//section[@id='d1']/h3[position() < 5]"),
            (Texts{"Findings", "A" + after,
                   "A" + after + ", and the running one (stands already)",
                   healed_heading}));
  EXPECT_EQ(tree.Texts("//section[@id='d2']/h3[1]"), Texts{healed_heading});
  // The address is that of the third finding, after the one that is there
  // twice.
  EXPECT_EQ(tree.Texts("//section[@id='d1']//article//a/@href"),
            Texts{"#d1-f3-plan"});
  EXPECT_EQ(tree.Texts("//article[@id='d1-f2']/p"),
            Texts{"The change is refused for it, too: see above."});
  EXPECT_EQ(tree.Texts("//article[@id='d2-f1']//dt"),
            (Texts{"Rule", "Validation point", "Data path", "Read more"}));
  EXPECT_EQ(tree.Texts("//table[@class='list']//td[2]"),
            (Texts{"no and 1 more", ""}));
}

// --- Changes

TEST(Page, ListsWhatChangedWithItsValues) {
  const PageTree tree(OverlapPage());
  EXPECT_EQ(
      tree.Texts("//table[@class='changes']/tbody//code"),
      (Texts{"/config/interface/l3{intruder}", "/config/interface/l3{old}"}));
  EXPECT_EQ(tree.Texts("//table[@class='changes']/tbody//ins"),
            Texts{"ipv4/address/ip 10.0.0.129/25"});
  EXPECT_EQ(tree.Texts("//table[@class='changes']/tbody//del"),
            Texts{"ipv4/address/ip 10.9.0.1/24"});
}

TEST(Page, SaysThatNothingChanged) {
  const PageTree tree(PageOf(Refused({}), {}));
  EXPECT_TRUE(Has(tree.Texts("//h3/following-sibling::p"), "Nothing."));
}

TEST(Page, ClosesALongListOfChanges) {
  std::string all;
  for (int i = 0; i < 40; ++i) {
    all += L3("i" + std::to_string(i), "10.0." + std::to_string(i) + ".1/24");
  }
  const PageTree tree(PageOf(Refused({}), View("", all, {})));
  EXPECT_EQ(tree.Texts("//details[.//table[@class='changes']]/summary"),
            Texts{"40 changes"});
}

// --- The plan

TEST(Page, OpensConflictsBeforeEverythingElseInTheSpace) {
  const PageTree tree(OverlapPage());
  EXPECT_EQ(tree.Texts("//section[@class='space']/*[3]/h5"),
            Texts{"Conflict in 10.0.0.0/24"});
  EXPECT_EQ(tree.Count("//div[@class='clash']//ancestor::details"), 0U);
  EXPECT_EQ(tree.Texts("//div[@class='clash']//tbody/tr/th"),
            (Texts{"10.0.0.1/24", "10.0.0.129/25"}));
  EXPECT_EQ(tree.Texts("//div[@class='clash']//span[@class='why']"),
            (Texts{"overlaps with l3 intruder 10.0.0.129/25",
                   "overlaps with l3 office 10.0.0.1/24"}));
}

TEST(Page, DrawsAPrefixWhereItLiesInItsBlock) {
  const PageTree tree(OverlapPage());
  const std::string row = "//div[@class='clash']//tr[th='10.0.0.129/25']//rect";
  EXPECT_EQ(tree.Texts(row + "/@x"), Texts{"50%"});
  EXPECT_EQ(tree.Texts(row + "/@width"), Texts{"50%"});
  EXPECT_EQ(tree.Texts(row + "/@class"), Texts{"bar conflict new"});
}

TEST(Page, ShowsARemovedAddressWhereItWas) {
  const PageTree tree(OverlapPage());
  EXPECT_EQ(tree.Texts("//div[@class='block' and contains(., '10.9.0.1/24')]"
                       "//span[@class='badge removed']"),
            Texts{"removed"});
}

TEST(Page, SaysThatNoInterfaceHasAnAddress) {
  const std::string page = PageOf(Refused({}), {});
  EXPECT_NE(page.find("No interface has an address."), std::string::npos);
}

TEST(Page, PutsSpacesInConflictFirstAndManyQuietOnesAway) {
  std::string all;
  for (int i = 0; i < 30; ++i) {
    const std::string number = std::to_string(i);
    all += L3("i" + number, "10.0.0.1/24", "<vrf>v" + number + "</vrf>");
  }
  all += L3("z", "10.0.0.2/24", "<vrf>v7</vrf>");
  const PageTree tree(PageOf(Refused({}), View(all, all, {})));
  EXPECT_EQ(tree.Texts("//section[@class='space']/h4")[0], "VRF v7");
  EXPECT_EQ(tree.Count("//section[@class='space']"), 30U);
  EXPECT_EQ(tree.Texts("//details[section]/summary"),
            Texts{"21 more address spaces without conflict or change"});
}

TEST(Page, TellsHowManyChangesOfALargeSpaceAreOnlyInItsBlocks) {
  const auto notes_of_new = [](int count) {
    std::string old;
    for (int i = 0; i < 20; ++i) {
      const std::string number = std::to_string(i);
      old += L3("o" + number, "10.0." + number + ".1/24");
    }
    std::string all = old;
    for (int i = 0; i < count; ++i) {
      all += L3("i" + std::to_string(i), std::to_string(20 + i) + ".0.0.1/24");
    }
    const PageTree tree(PageOf(Refused({}), View(old, all, {})));
    EXPECT_EQ(tree.Count("//div[@class='changed']"), 12U);
    return tree.Texts("//p[@class='note'][contains(., 'below')]");
  };
  EXPECT_EQ(notes_of_new(12), Texts{});
  EXPECT_EQ(notes_of_new(13), Texts{"1 change more in the blocks below."});
  EXPECT_EQ(notes_of_new(20), Texts{"8 changes more in the blocks below."});
}

TEST(Page, ShowsTheFirstConflictsOfVeryManyAndAllWhenAsked) {
  std::string all;
  for (int i = 0; i < 60; ++i) {
    const std::string net = "10.0." + std::to_string(i);
    all += L3("a" + std::to_string(i), net + ".1/24");
    all += L3("b" + std::to_string(i), net + ".2/24");
  }
  const PageTree tree(PageOf(Refused({}), View(all, all, {})));
  EXPECT_EQ(tree.Count("//section/div[@class='clash']"), 40U);
  EXPECT_EQ(tree.Texts("//details[div[@class='clash']]/summary"),
            Texts{"20 more conflicts"});
}

// A prefix around so many others, of which the last is new.
PageTree WidePage(int others) {
  std::string all = L3("wide", "10.1.0.1/16");
  for (int i = 0; i < others - 1; ++i) {
    all +=
        L3("i" + std::to_string(i), "10.1." + std::to_string(i + 1) + ".1/24");
  }
  return PageTree(
      PageOf(Refused({}), View(all, all + L3("last", "10.1.200.1/24"), {})));
}

TEST(Page, TellsHowManyMoreAPrefixOverlapsWith) {
  const std::string why =
      "//div[@class='clash']//tr[th='10.1.0.1/16']//span[@class='why']";
  EXPECT_EQ(WidePage(4).Texts(why + "[4]"),
            Texts{"overlaps with l3 last 10.1.200.1/24"});
  EXPECT_EQ(WidePage(4).Count(why), 4U);
  EXPECT_EQ(WidePage(5).Texts(why + "[5]"), Texts{"and with 1 other"});
  EXPECT_EQ(WidePage(60).Texts(why + "[5]"), Texts{"and with 56 others"});
}

TEST(Page, ShowsWhatChangedOfALargeConflictAndAllOfItWhenAsked) {
  const PageTree wide = WidePage(60);
  const Texts shown = wide.Texts("//div[@class='clash']/table//tbody//th");
  EXPECT_EQ(shown.size(), 12U);
  EXPECT_EQ(shown.front(), "10.1.0.1/16");
  EXPECT_EQ(shown.back(), "10.1.200.1/24");
  EXPECT_EQ(wide.Texts("//div[@class='clash']/details/summary"),
            Texts{"49 more prefixes of this conflict"});
  EXPECT_EQ(wide.Count("//div[@class='clash']/details//tbody/tr"), 49U);
  EXPECT_EQ(WidePage(11).Count("//div[@class='clash']/details"), 0U);
}

// --- Devices

TEST(Page, HasALineAndASectionForEachDevice) {
  DeviceReport accepted;
  accepted.number = 2;
  accepted.candidate = "good.xml";
  DeviceReport unread;
  unread.number = 3;
  unread.candidate = "bad.xml";
  unread.status = kBadInput;
  unread.input_errors = {"bad.xml:3:1: reason", "bad.xml:4:1: other"};
  DeviceReport dead;
  dead.number = 4;
  dead.candidate = "deadly.xml";
  dead.status = kPluginFailed;
  dead.outcome.failure = "it was ended by signal 6";
  dead.outcome.failed_point = "intf_vrf_validation";
  dead.outcome.failed_path = "/config/interface/l3";
  DeviceReport refused = Refused({Overlap()});
  refused.number = 5;
  const std::string page = PageOf([&](HtmlWriter* writer) {
    writer->Add(
        EntryOf(WithSection(Refused({Overlap(), Overlap()}), OverlapView())));
    writer->Add(EntryOf(WithSection(accepted, {})));
    writer->Add(EntryOf(unread));
    writer->Add(EntryOf(dead));
    writer->Add(EntryOf(refused));
  });
  EXPECT_EQ(FlawsOf(page), Texts{});
  const PageTree tree(page);
  EXPECT_EQ(tree.Texts("//nav//a"),
            (Texts{"candidate.xml", "good.xml", "bad.xml", "deadly.xml",
                   "candidate.xml"}));
  EXPECT_EQ(tree.Texts("//nav//a/@href"),
            (Texts{"#d1", "#d2", "#d3", "#d4", "#d5"}));
  EXPECT_EQ(tree.Texts("//nav//td[2]"),
            (Texts{"l3 office overlaps with l3 intruder. and 1 more", "",
                   "bad.xml:3:1: reason and 1 more", "it was ended by signal 6",
                   "l3 office overlaps with l3 intruder."}));
  EXPECT_EQ(
      tree.Texts("//section/h2/span"),
      (Texts{"refused", "accepted", "not read", "not judged", "refused"}));
  EXPECT_EQ(tree.Texts("//header/p"),
            Texts{"5 candidates: 1 accepted, 2 refused, 1 not read, 1 not "
                  "judged."});
  EXPECT_EQ(tree.Texts("//section[@id='d3']/p[@class='text']"),
            (Texts{"bad.xml:3:1: reason", "bad.xml:4:1: other"}));
  EXPECT_EQ(tree.Texts("//section[@id='d4']//dd"),
            (Texts{"intf_vrf_validation", "/config/interface/l3"}));
}

TEST(Page, OfOneDeviceHasNoList) {
  EXPECT_EQ(PageTree(OverlapPage()).Count("//nav"), 0U);
}

TEST(Page, ListsWarningsAndFaults) {
  DeviceReport device;
  device.candidate = "c.xml";
  ipav::commit::Answer warning;
  warning.opaque = "intf_vrf_validation";
  warning.path = "/config/interface/l3";
  warning.result = CONFD_VALIDATION_WARN;
  warning.text = "mind the gap";
  device.outcome.answers = {warning};
  device.advice = {"a VRF"};
  device.outcome.faults = {"a fault"};
  device.outcome.left_open = {"2 cursors"};
  device.outcome.output = "chatter";
  const PageTree tree(PageOf(device, {}));
  EXPECT_EQ(
      tree.Texts("//ul[@class='warnings']/li"),
      (Texts{"a VRF", "mind the gap intf_vrf_validation /config/interface/l3",
             "a fault", "The plug-in left 2 cursors open.",
             "The plug-in wrote: chatter"}));
}

// --- Hostile texts

TEST(Page, LetsNothingOfTheDataBecomeMarkup) {
  const std::string hostile =
      "\"'><script src=//x.example/a.js></script><svg onload=alert(1)>&amp;"
      "</style></title><!--";
  Finding finding = Overlap();
  for (std::string* text :
       {&finding.text, &finding.point, &finding.path, &finding.title,
        &finding.advice, &finding.anchor, &finding.note,
        &finding.culprits[0].role, &finding.culprits[0].path,
        &finding.culprits[0].value, &finding.culprits[0].place->file,
        &finding.culprits[0].place->source_line}) {
    *text = hostile;
  }
  DeviceReport device = Refused({finding});
  device.running = device.candidate = hostile;
  device.outcome.faults = {hostile};
  device.advice = {hostile};
  device.outcome.output = hostile;
  device.outcome.left_open = {hostile};
  std::string name = hostile;  // as XML data
  for (std::size_t at = 0; (at = name.find('&', at)) != std::string::npos;
       at += 5) {
    name.replace(at, 1, "&amp;");
  }
  for (std::size_t at = 0; (at = name.find('<', at)) != std::string::npos;) {
    name.replace(at, 1, "&lt;");
  }
  const std::string vrf = "<vrf>" + name + "</vrf>";
  const DeviceView view =
      View("", L3(name, "10.0.0.1/24", vrf) + L3("b", "10.0.0.2/24", vrf), {});
  const std::string page = PageOf(device, view);
  EXPECT_EQ(FlawsOf(page), Texts{});
  EXPECT_EQ(page.find("<script"), std::string::npos);
  const PageTree tree(page);
  EXPECT_EQ(tree.Texts("//h4[@class='text']"), Texts{hostile});
  EXPECT_EQ(tree.Texts("//section[@class='space']/h4"),
            Texts{"VRF " + hostile});
  EXPECT_TRUE(Has(tree.Texts("//div[@class='clash']//td/text()"),
                  "l3 " + hostile + " "));
}

// --- The file

TEST(Page, IsTheSameEachTime) { EXPECT_EQ(OverlapPage(), OverlapPage()); }

}  // namespace
