// The page as a browser shows it: headless Chromium draws it, reports what it
// complains of, and says how wide it became.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "tests/report/generated.h"
#include "tests/support/run_process.h"
#include "tests/support/temp_dir.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

using Texts = std::vector<std::string>;

enum class Scheme { kDark = 0, kLight = 1 };  // the browser's numbers

// Height of a window in pixels, enough for the beginning of any page.
constexpr int kHeight = 1600;

std::string Read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Lines that a page, or the browser about it, wrote to the console.
std::string ConsoleOf(const ProcessResult& browser) {
  std::string console;
  std::size_t begin = 0;
  while (begin < browser.err.size()) {
    const std::size_t end =
        std::min(browser.err.find('\n', begin), browser.err.size());
    const std::string line = browser.err.substr(begin, end - begin);
    if (line.find(":CONSOLE") != std::string::npos) console += line + "\n";
    begin = end + 1;
  }
  return console;
}

class Browser : public FolderTest {
 protected:
  void SetUp() override {
    if (std::string(IPAV_CHROMIUM).empty()) GTEST_SKIP() << "no chromium";
    fs::create_directories(IPAV_SCREENSHOTS);
  }

  // The page of an overlap among so many prefixes.
  std::string OverlapPage(std::size_t prefixes) const {
    return PageOf({"--running", Write("running.xml", Configuration(prefixes)),
                   Write("candidate.xml", WithIntruder(prefixes))});
  }

  std::string PageOf(const Texts& arguments) const {
    std::string page = folder_ / "page.html";
    Texts command = {IPAV_PROGRAM, "check", "--all", "--report", page};
    command.insert(command.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(RunProcess(command).status, 1);
    return page;
  }

  // Without a sandbox, which root has none of.
  ProcessResult Open(const std::string& page, int width, Scheme scheme,
                     const std::string& task) const {
    return RunProcess({IPAV_CHROMIUM, "--headless", "--no-sandbox",
                       "--disable-gpu", "--hide-scrollbars",
                       "--disable-dev-shm-usage", "--virtual-time-budget=2000",
                       "--enable-logging=stderr",
                       "--user-data-dir=" + (folder_ / "profile").string(),
                       "--blink-settings=preferredColorScheme=" +
                           std::to_string(static_cast<int>(scheme)),
                       "--window-size=" + std::to_string(width) + "," +
                           std::to_string(kHeight),
                       task, "file://" + page});
  }

  // The page with a script of the test's own, which it would not run itself.
  std::string WithScript(const std::string& page,
                         const std::string& script) const {
    std::string text = Read(page);
    const std::size_t policy =
        text.find("<meta http-equiv=\"Content-Security-Policy\"");
    text.erase(policy, text.find("/>", policy) + 2 - policy);
    text.insert(text.rfind("</body>"), "<script>" + script + "</script>");
    return Write("probe.html", text);
  }
};

// Width and height of a PNG, from its first chunk.
std::uint32_t NumberAt(const std::string& png, std::size_t place) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    number = number << 8U | static_cast<std::uint8_t>(png[place + i]);
  }
  return number;
}

// --- Screenshots

struct Window {
  std::size_t prefixes;
  int width;
};

void PrintTo(const Window& window, std::ostream* out) {
  *out << window.prefixes << " prefixes, " << window.width << " pixels";
}

class Screenshot : public Browser,
                   public ::testing::WithParamInterface<Window> {
 protected:
  std::string Take(const std::string& page, Scheme scheme) const {
    const auto& [prefixes, width] = GetParam();
    const std::string file =
        std::string(IPAV_SCREENSHOTS) + "/" + std::to_string(prefixes) + "-" +
        std::to_string(width) +
        (scheme == Scheme::kDark ? "-dark.png" : "-light.png");
    fs::remove(file);
    const ProcessResult browser =
        Open(page, width, scheme, "--screenshot=" + file);
    EXPECT_EQ(browser.status, 0) << browser.err;
    EXPECT_EQ(ConsoleOf(browser), "");
    std::string png = Read(file);
    if (png.size() < 24) {
      ADD_FAILURE() << "no screenshot: " << browser.err;
      return "";
    }
    EXPECT_EQ(NumberAt(png, 16), static_cast<std::uint32_t>(width));
    EXPECT_EQ(NumberAt(png, 20), static_cast<std::uint32_t>(kHeight));
    return png;
  }
};

TEST_P(Screenshot, IsTakenInLightAndDarkWithoutAComplaint) {
  const std::string page = OverlapPage(GetParam().prefixes);
  const std::string light = Take(page, Scheme::kLight);
  const std::string dark = Take(page, Scheme::kDark);
  // A picture of one colour takes a few hundred bytes.
  EXPECT_GT(light.size(), 20000U);
  EXPECT_GT(dark.size(), 20000U);
  EXPECT_NE(light, dark);
}

INSTANTIATE_TEST_SUITE_P(Windows, Screenshot,
                         ::testing::Values(Window{3, 390}, Window{100, 800},
                                           Window{300, 1280},
                                           Window{3000, 2000}));

// --- What the browser made of it

TEST_F(Browser, HasTheFindingsInItsDocument) {
  const std::string page =
      PageOf({"--running", IPAV_EXAMPLES "/campus-core/running.json",
              IPAV_EXAMPLES "/campus-core/ra-several-wrong-at-once.json",
              IPAV_EXAMPLES "/campus-core/mgmt-in-staff-subnet.json"});
  const ProcessResult browser = Open(page, 1280, Scheme::kLight, "--dump-dom");
  EXPECT_EQ(ConsoleOf(browser), "");
  const std::string overlap =
      "mgmt eth1 ipv6 address 2001:db8:40:100::2/64 overlaps with l3 "
      "staff-admin ipv6 address 2001:db8:40:100::1/64.";
  for (const std::string& text :
       {std::string("Minimum interval must be no greater than maximum interval "
                    "* 0.75"),
        std::string("fail to get maximum router advertisement interval value"),
        std::string("fail to get minimum router advertisement interval value"),
        overlap}) {
    EXPECT_NE(browser.out.find(">" + text + "</h4>"), std::string::npos)
        << text;
  }
}

// What stands out of a window has to be scrolled to sideways. In a frame, since
// a window of this browser is no narrower than 500 pixels.
TEST_F(Browser, FitsIntoANarrowWindow) {
  WithScript(OverlapPage(300),
             "parent.postMessage(innerWidth + ' ' + "
             "document.documentElement.scrollWidth, '*');");
  const std::string frame =
      Write("frame.html",
            "<html><head><title>?</title></head><body><script>"
            "onmessage = event => { document.title = event.data; };</script>"
            "<iframe src=\"probe.html\" width=\"360\" height=\"900\" "
            "frameborder=\"0\"></iframe></body></html>");
  const ProcessResult browser = Open(frame, 1280, Scheme::kLight, "--dump-dom");
  EXPECT_NE(browser.out.find("<title>360 360</title>"), std::string::npos)
      << browser.out.substr(0, 2000);
}

TEST_F(Browser, ReachesEveryBlockByTheKeyboardAndOpensIt) {
  const std::string page = WithScript(
      OverlapPage(300),
      "const all = [...document.querySelectorAll('summary')];"
      "const good = all.filter(summary => { summary.focus(); summary.click();"
      "return document.activeElement === summary && "
      "summary.parentElement.open && summary.nextElementSibling.offsetHeight"
      "> 0 && summary.innerText.length > 0; });"
      "document.title = all.length > 5 ? good.length - all.length : 'few';");
  const ProcessResult browser = Open(page, 1280, Scheme::kLight, "--dump-dom");
  EXPECT_NE(browser.out.find("<title>0</title>"), std::string::npos)
      << browser.out.substr(0, 2000);
}

// The other tests would not see a complaint if this one did not.
TEST_F(Browser, IsNotLetAskForAnythingAndSaysSo) {
  std::string text = Read(OverlapPage(3));
  text.insert(text.rfind("</body>"),
              "<img src=\"file:///nowhere/x.png\" alt=\"\" />"
              "<script>document.title = 'ran'</script>");
  const ProcessResult browser =
      Open(Write("probe.html", text), 1280, Scheme::kLight, "--dump-dom");
  EXPECT_NE(ConsoleOf(browser).find("Content Security Policy"),
            std::string::npos)
      << browser.err;
  EXPECT_EQ(browser.out.find("<title>ran</title>"), std::string::npos);
}

}  // namespace

}  // namespace ipav::testing
