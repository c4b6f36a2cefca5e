// The page as a browser shows it: headless Chromium draws it, reports what it
// complains of, and says how wide it became.

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <sstream>

#include "tests/cli/fixture.h"
#include "tests/report/generated.h"

namespace ipav::testing {

namespace {

namespace fs = std::filesystem;

enum class Scheme { kDark = 0, kLight = 1 };  // the browser's numbers

// Height of a window in pixels, enough for the beginning of any page.
constexpr int kHeight = 1600;

// The lines that the page, or the browser about it, wrote to the console.
std::string ConsoleOf(const ProcessResult& browser) {
  std::string console;
  std::istringstream lines(browser.err);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(":CONSOLE") != std::string::npos) console += line + "\n";
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

  std::string PageOf(const Words& arguments) const {
    std::string page = folder_ / "page.html";
    EXPECT_EQ(
        Ipav(Joined({"check", "--all", "--report", page}, arguments)).status,
        1);
    return page;
  }

  // Without a sandbox: root has none.
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

  // The document of the page, after its scripts ran.
  ProcessResult Document(const std::string& page) const {
    return Open(page, 1280, Scheme::kLight, "--dump-dom");
  }

  // The page with a script of the test, and without the policy that forbids
  // it.
  std::string WithScript(const std::string& page,
                         const std::string& script) const {
    std::string text = ReadFile(page);
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
    std::string png = ReadFile(file);
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
  const ProcessResult browser =
      Document(PageOf({"--running", kCampus + "running.json",
                       kCampus + "ra-several-wrong-at-once.json",
                       kCampus + "mgmt-in-staff-subnet.json"}));
  EXPECT_EQ(ConsoleOf(browser), "");
  for (const char* text :
       {"Minimum interval must be no greater than maximum interval * 0.75",
        "fail to get maximum router advertisement interval value",
        "fail to get minimum router advertisement interval value",
        "mgmt eth1 ipv6 address 2001:db8:40:100::2/64 overlaps with l3 "
        "staff-admin ipv6 address 2001:db8:40:100::1/64."}) {
    EXPECT_THAT(browser.out, HasSubstr(">" + std::string(text) + "</h4>"));
  }
}

// Content that is wider than the window has to be scrolled to sideways. In a
// frame, since a window of this browser is at least 500 pixels wide.
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
  EXPECT_THAT(Document(frame).out, HasSubstr("<title>360 360</title>"));
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
  EXPECT_THAT(Document(page).out, HasSubstr("<title>0</title>"));
}

// Shows that the other tests would see a complaint.
TEST_F(Browser, MayNotAskForAnythingAndSaysSo) {
  std::string text = ReadFile(OverlapPage(3));
  text.insert(text.rfind("</body>"),
              "<img src=\"file:///nowhere/x.png\" alt=\"\" />"
              "<script>document.title = 'ran'</script>");
  const ProcessResult browser = Document(Write("probe.html", text));
  EXPECT_THAT(ConsoleOf(browser), HasSubstr("Content Security Policy"));
  EXPECT_THAT(browser.out, Not(HasSubstr("<title>ran</title>")));
}

}  // namespace

}  // namespace ipav::testing
