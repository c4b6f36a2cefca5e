// The two palettes of the page, by the contrast that WCAG 2.1 asks for.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

namespace {

using Palette = std::map<std::string, std::string>;  // name to rrggbb

std::string Style() { return ipav::testing::ReadFile(IPAV_PAGE_STYLE); }

// Light and dark: the blocks that begin with ":root".
std::vector<Palette> Palettes() {
  const std::string style = Style();
  std::vector<Palette> palettes;
  const std::regex color("--([a-z-]+): #([0-9a-f]{6});");
  for (std::size_t at = style.find(":root {"); at != std::string::npos;
       at = style.find(":root {", at + 1)) {
    const std::string block = style.substr(at, style.find('}', at) - at);
    Palette palette;
    for (std::sregex_iterator i(block.begin(), block.end(), color), end;
         i != end; ++i) {
      palette[(*i)[1]] = (*i)[2];
    }
    palettes.push_back(palette);
  }
  return palettes;
}

double Luminance(const std::string& color) {
  const double weights[] = {0.2126, 0.7152, 0.0722};
  double luminance = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    const double share =
        static_cast<double>(std::stoul(color.substr(i * 2, 2), nullptr, 16)) /
        255;
    luminance += weights[i] * (share <= 0.04045
                                   ? share / 12.92
                                   : std::pow((share + 0.055) / 1.055, 2.4));
  }
  return luminance;
}

double Contrast(const std::string& a, const std::string& b) {
  const double lighter = std::max(Luminance(a), Luminance(b));
  const double darker = std::min(Luminance(a), Luminance(b));
  return (lighter + 0.05) / (darker + 0.05);
}

TEST(PageStyle, HasOnePaletteForLightAndOneForDark) {
  const std::vector<Palette> palettes = Palettes();
  ASSERT_EQ(palettes.size(), 2U);
  for (const auto& [name, color] : palettes[0]) {
    EXPECT_EQ(palettes[1].count(name), 1U) << name;
  }
  EXPECT_GT(Luminance(palettes[0].at("page")), 0.8);
  EXPECT_LT(Luminance(palettes[1].at("page")), 0.05);
}

TEST(PageStyle, HasTextOfContrastAa) {
  for (const Palette& palette : Palettes()) {
    for (const char* ground : {"page", "panel"}) {
      for (const char* text : {"text", "muted", "link", "new-text",
                               "conflict-text", "removed-text"}) {
        EXPECT_GE(Contrast(palette.at(text), palette.at(ground)), 4.5)
            << text << " on " << ground;
      }
    }
    for (const char* fill : {"kept-fill", "new-fill", "conflict-fill"}) {
      EXPECT_GE(Contrast(palette.at("text"), palette.at(fill)), 4.5) << fill;
    }
    EXPECT_GE(Contrast(palette.at("mark-text"), palette.at("mark-fill")), 4.5);
  }
}

TEST(PageStyle, HasLinesThatAreSeen) {
  for (const Palette& palette : Palettes()) {
    for (const char* ground : {"page", "panel"}) {
      for (const char* line :
           {"kept-line", "new-line", "conflict-line", "removed-line"}) {
        EXPECT_GE(Contrast(palette.at(line), palette.at(ground)), 3.0)
            << line << " on " << ground;
      }
    }
  }
}

TEST(PageStyle, NamesNoColourOutsideOfThePalettes) {
  const std::string style = Style();
  const std::string rest = style.substr(style.rfind(":root {"));
  const std::string rules = rest.substr(rest.find('}'));
  EXPECT_FALSE(
      std::regex_search(rules, std::regex("#[0-9a-f]{3,8}\\b|rgb|hsl")));
}

}  // namespace
