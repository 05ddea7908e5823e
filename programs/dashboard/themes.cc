#include "programs/dashboard/themes.h"

#include <algorithm>

namespace tarvel::viewer {
namespace {

// The colours that every terminal has, in the order of ANSI.
enum Ansi : short { kRed = 1, kGreen = 2, kYellow = 3, kBlue = 4, kMagenta = 5, kCyan = 6 };

}  // namespace

const std::array<Theme, kThemeCount> kThemes = {{
    {"dark",
     16,
     true,
     {{{-1, -1, false, false},
       {110, kCyan, true, false},
       {221, kYellow, true, false},
       {245, -1, false, false},
       {114, kGreen, false, false},
       {215, kYellow, false, false},
       {203, kRed, true, false},
       {147, kMagenta, false, false},
       {-1, -1, false, true}}}},
    {"light",
     231,
     true,
     {{{-1, -1, false, false},
       {24, kBlue, true, false},
       {94, kMagenta, true, false},
       {242, -1, false, false},
       {22, kGreen, false, false},
       {130, kMagenta, false, false},
       {160, kRed, true, false},
       {55, kMagenta, false, false},
       {-1, -1, false, true}}}},
    {"mono",
     16,
     false,
     {{{-1, -1, false, false},
       {-1, -1, true, false},
       {-1, -1, true, false},
       {-1, -1, false, false},
       {-1, -1, false, false},
       {-1, -1, true, false},
       {-1, -1, true, true},
       {-1, -1, true, false},
       {-1, -1, false, true}}}},
}};

const Theme& themeNamed(std::string_view name) {
  const auto found = std::find_if(kThemes.begin(), kThemes.end(),
                                  [&](const Theme& theme) { return theme.name == name; });
  return found != kThemes.end() ? *found : kThemes.front();
}

const Theme& nextTheme(const Theme& theme) {
  const auto found = std::find_if(kThemes.begin(), kThemes.end(),
                                  [&](const Theme& each) { return each.name == theme.name; });
  const auto index = static_cast<std::size_t>(found - kThemes.begin());
  return kThemes[(index + 1) % kThemes.size()];
}

}  // namespace tarvel::viewer
