// Reports as JUnit XML, read back with a reader of XML.
#include "cli/report/junit/junit.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/cli/report/sample_reports.h"

namespace ipav::testing {

namespace {

using cli::report::DeviceReport;
using cli::report::Format;

const xmlChar* Xml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

// The report on these devices.
class Document {
 public:
  explicit Document(const std::vector<DeviceReport>& devices)
      : text_(Written(Format::kJunit, devices)),
        xml_(xmlReadMemory(text_.data(), static_cast<int>(text_.size()),
                           "report.xml", nullptr, XML_PARSE_NONET)) {
    EXPECT_NE(xml_, nullptr) << text_;
  }

  // The string that an XPath expression yields.
  std::string operator[](const std::string& expression) const {
    const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)>
        context(xmlXPathNewContext(xml_.get()), &xmlXPathFreeContext);
    const std::string string = "string(" + expression + ")";
    const std::unique_ptr<xmlXPathObject, decltype(&xmlXPathFreeObject)> value(
        xmlXPathEvalExpression(Xml(string), context.get()),
        &xmlXPathFreeObject);
    EXPECT_NE(value, nullptr) << expression;
    return reinterpret_cast<const char*>(value->stringval);
  }

  const std::string& text() const { return text_; }

 private:
  struct Free {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
  };
  std::string text_;
  std::unique_ptr<xmlDoc, Free> xml_;
};

TEST(JunitReport, HasASuiteForEachDeviceAndACaseForEachCall) {
  const Document report({Accepted("a.xml"), Refused("b.xml")});
  EXPECT_EQ(report["count(/testsuites/testsuite)"], "2");
  EXPECT_EQ(report["//testsuite[1]/@name"], "a.xml");
  EXPECT_EQ(report["//testsuite[1]/@tests"], "2");
  EXPECT_EQ(report["//testsuite[1]/@failures"], "0");
  EXPECT_EQ(report["//testsuite[1]/@errors"], "0");
  EXPECT_EQ(report["count(//testsuite[1]/testcase)"], "2");
  EXPECT_EQ(report["count(//testsuite[1]/testcase/*)"], "0");
  EXPECT_EQ(report["//testsuite[1]/testcase[2]/@name"],
            "ipv4_addr_validation /config/interface/l3");
  EXPECT_EQ(report["//testsuite[1]/testcase[2]/@classname"], "a.xml");
}

TEST(JunitReport, ARefusalIsAFailureWithTheOperatorsText) {
  const Document report({Refused("b.xml")});
  const std::string text =
      "l3 a vrf global ipv4 address 10.0.0.1/24 overlaps with l3 b vrf global "
      "ipv4 address 10.0.0.2/24.";
  EXPECT_EQ(report["//testsuite/@failures"], "1");
  EXPECT_EQ(report["count(//failure)"], "1");
  EXPECT_EQ(report["//testcase[2]/failure/@message"], text);
  EXPECT_EQ(report["//testcase[2]/failure/@type"], "interface-overlap");
  EXPECT_EQ(report["//testcase[2]/failure"],
            text +
                "\nvalidation point: ipv4_addr_validation\n"
                "data path: /config/interface/l3\n"
                "b.xml:4:13: address /config/interface/l3{a}/ipv4/address/ip "
                "10.0.0.1/24 (added)\n"
                "b.xml:9:5: overlaps with "
                "/config/interface/l3{b}/ipv4/address/ip 10.0.0.2/24 "
                "(unchanged)\n"
                "Change one of them.\ndocs/messages.md#overlap\n");
  DeviceReport standing = Refused("b.xml");
  standing.findings.front().is_standing = true;
  standing.advice = {"a VRF"};
  EXPECT_EQ(Document({standing})["//testsuite/system-err"], "a VRF\n");
  EXPECT_NE(Document({standing})["//testcase[2]/failure"].find(
                "\nnot caused by this change: the fault was there before\n"),
            std::string::npos);
}

TEST(JunitReport, AFaultAfterARestartIsACaseByItsState) {
  const Document report({Restarted("e.xml")});
  EXPECT_EQ(report["//testsuite/@tests"], "6");
  EXPECT_EQ(report["//testsuite/@failures"], "3");
  EXPECT_EQ(report["//testsuite/@skipped"], "1");
  const std::string name =
      "after a restart: ipv4_addr_validation /config/interface/l3";
  EXPECT_EQ(report["count(//testcase[@name='" + name + "'])"], "4");
  EXPECT_EQ(report["//testcase[4]/failure/@message"], "fresh");
  EXPECT_EQ(report["//testcase[5]/skipped/@message"], "stands");
  const std::string healed = report["//testcase[6]/system-out"];
  EXPECT_EQ(healed.find("healed by this change: after a restart, the device "
                        "would refuse the running configuration\nhealed\n"),
            0U);
  EXPECT_EQ(healed.find("Change one of them."), std::string::npos);
  // Without a fault it is a case that passed; without a running configuration
  // it says that the change is the restart.
  DeviceReport device = Accepted("a.xml");
  device.restart.emplace();
  EXPECT_EQ(Document({device})["//testcase[3]/@name"], "after a restart");
  EXPECT_EQ(Document({device})["//testcase[3]"], "");
  device.restart->is_change = true;
  EXPECT_EQ(Document({device})["//testcase[3]/system-out"],
            "the same as the change");
}

TEST(JunitReport, EachInputErrorIsAnError) {
  const Document report({BadInput("c.xml")});
  EXPECT_EQ(report["//testsuite/@tests"], "2");
  EXPECT_EQ(report["//testsuite/@errors"], "2");
  EXPECT_EQ(report["//testcase[@name='input']/error/@message"],
            "c.xml:3:7: Node \"frob\" not found");
  EXPECT_EQ(report["//testcase[@name='input 2']/error/@message"],
            "c.xml: another reason");
  EXPECT_EQ(report["//testcase/error/@type"], "bad input");
}

TEST(JunitReport, AFailedPlugInIsAnErrorForEachReason) {
  const Document report({PluginFailed("d.xml")});
  EXPECT_EQ(report["//testsuite/@tests"], "3");
  EXPECT_EQ(report["//testsuite/@errors"], "2");
  EXPECT_EQ(report["//testcase[1]/system-out"], "think again");
  EXPECT_EQ(report["//testcase[2]/error/@message"],
            "the plug-in threw an exception: Invalid input");
  EXPECT_EQ(report["//testcase[3]/@name"],
            "ipv4_addr_validation /config/interface/l3");
  EXPECT_EQ(report["//testcase[3]/error/@message"],
            "killed by signal: Aborted");
  EXPECT_EQ(report["//testcase[3]/error"],
            "validate.cc:7: Assertion `x' failed.\n");
  EXPECT_EQ(report["//system-err"],
            "out of sockets\nagain\nthe plug-in left 2 cursors open\n");
}

TEST(JunitReport, ADeviceThatNothingWasAskedOfHasACaseNevertheless) {
  DeviceReport device = Accepted("a.xml");
  device.outcome.answers.clear();
  const Document report({device});
  EXPECT_EQ(report["//testsuite/@tests"], "1");
  EXPECT_EQ(report["//testcase/@name"], "nothing to judge");
  EXPECT_EQ(report["count(//testcase/*)"], "0");
}

TEST(JunitReport, TellsTheTimeOfADeviceThatHasOne) {
  EXPECT_EQ(Document({Refused("b.xml")})["//testsuite/@time"], "0.250000");
  EXPECT_EQ(Document({Accepted("a.xml")})["count(//@time)"], "0");
}

TEST(JunitReport, OddTextsAreMadeHarmless) {
  const Document report({Odd()});
  const std::string text = report["//testcase[1]/failure/@message"];
  EXPECT_EQ(text.substr(0, 47),
            "one\ntwo\\x0d\ttab {} [x] <&\"'> \\x1b[31mred\\x07\\x0");
  EXPECT_EQ(report.text().find('\x1b'), std::string::npos);
  EXPECT_EQ(report.text().find('\xff'), std::string::npos);
}

TEST(JunitReport, OfNoDeviceIsADocument) {
  const Document report({});
  EXPECT_EQ(report["count(/testsuites)"], "1");
  EXPECT_EQ(report["count(//testsuite)"], "0");
}

}  // namespace

}  // namespace ipav::testing
