#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <png.h>
#include <unistd.h>

#include "platform/host/files/files.h"
#include "platform/linux/desktop/linux_workspace.h"
#include "process/icon_cache.h"
#include "product/identifiers.h"

// icon_lookup TARVEL-ICON: what the icon of a process costs, in microseconds: warm, when its file
// is there, as the mean of many; cold, drawn by TARVEL-ICON and written, for each format of icon
// file.

namespace {

using namespace tarvel;
using Clock = std::chrono::steady_clock;

constexpr int kWarmLookups = 20000;
constexpr int kColdLookups = 20;

double microseconds(Clock::duration time) {
  return std::chrono::duration<double, std::micro>(time).count();
}

void put(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

void putPNG(const std::filesystem::path& path, std::uint32_t side) {
  std::filesystem::create_directories(path.parent_path());
  std::vector<std::uint8_t> pixels(std::size_t{side} * side * 4);
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>(i * 7);
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = image.height = side;
  image.format = PNG_FORMAT_RGBA;
  png_image_write_to_file(&image, path.c_str(), 0, pixels.data(), 0, nullptr);
}

std::string xpm() {
  std::string text = "/* XPM */\nstatic char* x[] = {\"48 48 1 1\", \". c #102030\"";
  for (int row = 0; row < 48; ++row) text += ", \"" + std::string(48, '.') + "\"";
  return text + "};";
}

// An application of this name that this very process is taken for.
void putApplication(const std::filesystem::path& home, const std::string& icon) {
  put(home / "share/applications/org.bench.desktop",
      "[Desktop Entry]\nType=Application\nExec=icon_lookup\nIcon=" + icon + "\n");
}

double coldLookup(const std::filesystem::path& home, const std::string& icon,
                  const char* iconProgram) {
  putApplication(home, icon);
  const auto files = makeFileManager();
  Clock::duration sum{};
  for (int i = 0; i < kColdLookups; ++i) {
    const auto workspace = makeLinuxWorkspace({"/proc", iconProgram, [](std::int32_t) {
                                                 return ProgramRun{1, "icon_lookup"};
                                               }});
    const IconCache cache(*workspace, *files);
    files->removeItemAtPath((home / "data" / kSuiteName).string() + std::string(kIconDirectory));
    const auto start = Clock::now();
    cache.iconValue(::getpid(), "icon_lookup  ");
    sum += Clock::now() - start;
  }
  return microseconds(sum) / kColdLookups;
}

double warmLookup(const char* iconProgram) {
  const auto files = makeFileManager();
  const auto workspace = makeLinuxWorkspace({"/proc", iconProgram, [](std::int32_t) {
                                               return ProgramRun{1, "icon_lookup"};
                                             }});
  const IconCache cache(*workspace, *files);
  cache.iconValue(::getpid(), "icon_lookup  ");
  const auto start = Clock::now();
  for (int i = 0; i < kWarmLookups; ++i) cache.iconValue(::getpid(), "icon_lookup  ");
  return microseconds(Clock::now() - start) / kWarmLookups;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("icon_lookup: arguments: the path of tarvel-icon is wanted\n", stderr);
    return 2;
  }
  std::string name = (std::filesystem::temp_directory_path() / "icon-lookup-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) return 1;
  const std::filesystem::path home = name;
  setenv("HOME", home.c_str(), 1);
  setenv("XDG_DATA_HOME", (home / "data").c_str(), 1);
  setenv("XDG_DATA_DIRS", (home / "share").c_str(), 1);
  putPNG(home / "share/pixmaps/p48.png", 48);
  putPNG(home / "share/pixmaps/p256.png", 256);
  put(home / "share/pixmaps/v.svg",
      R"(<svg xmlns="http://www.w3.org/2000/svg" width="48" height="48">)"
      R"(<circle cx="24" cy="24" r="20" fill="#306090"/></svg>)");
  put(home / "share/pixmaps/x.xpm", xpm());
  const struct {
    const char* format;
    const char* icon;
  } rows[] = {{"PNG, 48 pixels", "p48"},
              {"PNG, 256 pixels", "p256"},
              {"SVG", "v"},
              {"XPM", "x"},
              {"none, the generic picture", "none"}};
  for (const auto& row : rows) {
    std::printf("cold, %-26s %8.0f us\n", row.format, coldLookup(home, row.icon, argv[1]));
  }
  std::printf("warm %28s %8.2f us\n", "", warmLookup(argv[1]));
  std::filesystem::remove_all(home);
  return 0;
}
