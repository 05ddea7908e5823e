#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/desktop/desktop_index.h"
#include "platform/linux/desktop/drawing_turns.h"
#include "platform/linux/desktop/icon_theme.h"
#include "platform/linux/desktop/linux_workspace.h"
#include "platform/linux/desktop/process_application.h"
#include "platform/linux/desktop/unit_application.h"
#include "tests/temporary_home.h"

namespace tarvel {
namespace {

using Texts = std::vector<std::string>;

void put(const std::filesystem::path& path, std::string_view contents) {
  std::filesystem::create_directories(path.parent_path());
  writeFile(path, contents);
}

TEST(DesktopEntries, TheProgramIsFoundInExec) {
  const struct {
    const char* exec;
    Texts words;
    int program;  // -1: none can tell
  } rows[] = {
      {"app %U", {"app", "%U"}, 0},
      {R"("my app" --new  "a \"b\" c")", {"my app", "--new", "a \"b\" c"}, 0},
      {"env A=1 B=2 app %f", {"env", "A=1", "B=2", "app", "%f"}, 3},
      {"env", {"env"}, -1},
      {"/usr/bin/python3.11 -m app", {"/usr/bin/python3.11", "-m", "app"}, -1},
      {"pythonista", {"pythonista"}, 0},
      {R"(a\\sb)", {"a\\sb"}, 0},
      {"", {}, -1},
  };
  for (const auto& row : rows) {
    const auto entry = parseDesktopEntry(std::string("[Desktop Entry]\nExec=") + row.exec + "\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->words, row.words) << row.exec;
    const auto program = programWord(entry->words);
    EXPECT_EQ(program ? static_cast<int>(*program) : -1, row.program) << row.exec;
  }
}

TEST(DesktopEntries, OnlyTheMainGroupCounts) {
  const auto entry = parseDesktopEntry(
      "# comment\n\n[Desktop Entry]\nType = Application\nIcon=a\\sb\nIcon[de]=c\nNoDisplay=true\n"
      "[Desktop Action x]\nIcon=other\nHidden=true\n");
  ASSERT_TRUE(entry);
  EXPECT_TRUE(entry->isApplication);
  EXPECT_EQ(entry->icon, "a b");
  EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Application\nHidden=true")->isApplication);
  EXPECT_FALSE(parseDesktopEntry("[Desktop Entry]\nType=Link\n")->isApplication);
  EXPECT_FALSE(parseDesktopEntry("Type=Application\n"));
}

TEST(Units, AControlGroupNamesIdentifiers) {
  const struct {
    const char* path;
    Texts identifiers;
  } rows[] = {
      {"/app.slice/app-org.a.B.service", {"org.a.B"}},
      {"/app.slice/app-gnome-org.a.B-42.scope", {"org.a.B"}},
      {"/app.slice/app-org.a.B@1f.service/child", {"org.a.B"}},
      {"/app.slice/app-gnome-org.a.B-autostart.service", {"org.a.B"}},
      {"/app.slice/flatpak-org.a.B-42.scope", {"org.a.B"}},
      {"/app.slice/snap.shop.tool-8f-2b.scope", {"shop_tool"}},
      {"/app.slice/dbus-:1.2-org.a.B@0.service", {"org.a.B"}},
      {R"(/app.slice/app-gnome-my\x2dapp-77.scope)", {"my-app"}},
      {"/app.slice/app-org.a.B.slice/org-server.service", {"org.a.B"}},
      {"/app-org.a.A-1.scope/app-org.a.B-2.scope", {"org.a.B", "org.a.A"}},
      {"/app.slice/app-org.a.B.slice/vte-spawn-1-2.scope", {}},
      {"/app.slice/app-org.a.B-4.scope/tab(9).scope", {}},
      {R"(/app-gnome-..\x2f..\x2fetc-1.scope)", {}},
      {R"(/app-a\x00b-1.scope)", {}},
      {R"(/app-a\xZZ-1.scope)", {}},
      {"/app-.scope", {}},
      {"/app-a-b-c-d.scope", {}},
      {"/system.slice/ssh.service", {}},
      {"", {}},
  };
  for (const auto& row : rows) EXPECT_EQ(unitIdentifiers(row.path), row.identifiers) << row.path;
  EXPECT_EQ(controlGroupPath("1:name=systemd:/a\n0::/b\n"), "/b");
  EXPECT_EQ(controlGroupPath("4:cpu:/x\n1:name=systemd:/a\n"), "/a");
  EXPECT_EQ(controlGroupPath("4:cpu:/x\n"), "");
}

class Desktop : public testing::Test {
 protected:
  Desktop() {
    const std::string folders =
        (home.path() / "high").string() + ":" + (home.path() / "low").string();
    ::setenv("XDG_DATA_DIRS", folders.c_str(), 1);
    ::setenv("HOME", home.path().c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (home.path() / "config").c_str(), 1);
  }

  void entry(const std::string& path, const std::string& rest) {
    put(home.path() / path, "[Desktop Entry]\nType=Application\n" + rest);
  }

  std::filesystem::path process(int pid, const std::string& program) {
    const auto folder = home.path() / "proc" / std::to_string(pid);
    std::filesystem::create_directories(folder);
    if (!program.empty()) std::filesystem::create_symlink(program, folder / "exe");
    return folder;
  }

  std::string applicationOf(int pid) {
    DesktopIndex index(dataFolders());
    index.refresh();
    SandboxLooks sandboxes;
    const auto* found = processApplication((home.path() / "proc").string(), pid, index, sandboxes);
    return found != nullptr ? found->identifier : "";
  }

  TemporaryHome home;
};

TEST_F(Desktop, AProcessBelongsToTheBestOfWhatItsFilesTell) {
  entry("high/applications/org.a.Unit.desktop", "Exec=unit\n");
  entry("high/applications/org.a.Program.desktop", "Exec=prog %U\n");
  entry("high/applications/vendor/nested.desktop", "Exec=nested\n");
  entry("high/applications/org.a.Gone.desktop", "Exec=gone\nHidden=true\n");
  entry("low/applications/org.a.Gone.desktop", "Exec=gone\n");
  entry("high/applications/suite-a.desktop", "Exec=suite --a\n");
  entry("high/applications/suite-b.desktop", "Exec=suite --b %f\n");
  entry("high/applications/org.a.Script.desktop", "Exec=python3 script\n");
  put(process(1, "/x/prog") / "cgroup", "0::/app.slice/app-org.a.Unit-1.scope\n");
  put(process(2, "/x/prog") / "cgroup", "0::/app.slice/app-org.not.Installed-1.scope\n");
  put(process(3, "/x/other") / "root/.flatpak-info", "[Application]\nname=org.a.Unit\n");
  process(4, "/opt/nested (deleted)");
  process(5, "/x/gone");
  put(process(6, "/x/suite") / "cmdline", std::string("suite\0--b\0file\0", 15));
  process(7, "/x/suite");
  process(8, "/usr/bin/python3.11");
  const std::string launched = "GIO_LAUNCHED_DESKTOP_FILE=" +
                               (home.path() / "high/applications/org.a.Script.desktop").string();
  put(process(9, "/usr/bin/python3.11") / "environ",
      launched + '\0' + "GIO_LAUNCHED_DESKTOP_FILE_PID=9" + '\0');
  put(process(10, "/usr/bin/bash") / "environ",
      launched + '\0' + "GIO_LAUNCHED_DESKTOP_FILE_PID=9" + '\0');
  process(11, "");
  entry("high/applications/org.a.pad.desktop", "Exec=pad %U\n");
  entry("high/applications/org.a.pad-settings.desktop", "Exec=pad --preferences\n");
  process(12, "/x/pad");
  const Texts expected = {"org.a.Unit",
                          "org.a.Program",
                          "org.a.Unit",
                          "vendor-nested",
                          "",
                          "suite-b",
                          "",
                          "",
                          "org.a.Script",
                          "",
                          "",
                          "org.a.pad"};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(applicationOf(static_cast<int>(i) + 1), expected[i]) << "process " << i + 1;
  }
}

TEST_F(Desktop, SomebodyElsesProcessIsNoApplication) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs another user's folder";
  entry("high/applications/org.a.Program.desktop", "Exec=prog\n");
  const auto folder = process(1, "/x/prog");
  EXPECT_EQ(applicationOf(1), "org.a.Program");
  ASSERT_EQ(chown(folder.c_str(), 65534, 65534), 0);
  EXPECT_EQ(applicationOf(1), "");
}

TEST_F(Desktop, IconsComeFromTheFirstThemeThatHasAny) {
  const auto icons = home.path() / "high/icons";
  const auto folder = [](const std::string& name, const std::string& keys) {
    return "[" + name + "]\n" + keys + "\n";
  };
  put(icons / "hicolor/index.theme",
      "[Icon Theme]\nDirectories=48/apps,16/apps,64/apps,s/apps\nScaledDirectories=48@2/apps\n" +
          folder("48/apps", "Size=48") + folder("16/apps", "Size=16") +
          folder("64/apps", "Size=64") + folder("48@2/apps", "Size=48\nScale=2") +
          folder("s/apps", "Size=128\nType=Scalable\nMinSize=1\nMaxSize=256"));
  put(icons / "Own/index.theme", "[Icon Theme]\nInherits=Parent,hicolor\nDirectories=32\n" +
                                     folder("32", "Size=32\nType=Fixed"));
  put(icons / "Parent/index.theme",
      "[Icon Theme]\nInherits=Own\nDirectories=24\n" + folder("24", "Size=24\nType=Fixed"));
  for (const char* file :
       {"hicolor/48/apps/all.png", "hicolor/48@2/apps/all.png", "hicolor/s/apps/all.svg",
        "hicolor/16/apps/all.png", "hicolor/64/apps/all.png", "Parent/24/themed.png",
        "hicolor/48/apps/themed.png"}) {
    put(icons / file, "x");
  }
  put(home.path() / "low/icons/hicolor/48/apps/low.png", "x");
  put(home.path() / "low/pixmaps/pix.xpm", "x");
  const auto found = [&](const std::string& name) {
    std::string text;
    for (const auto& file : iconFiles(name, userIconFolders(dataFolders()))) {
      text += std::filesystem::path(file.path).lexically_relative(home.path()).string() + " ";
    }
    return text;
  };
  EXPECT_EQ(found("all"),
            "high/icons/hicolor/s/apps/all.svg high/icons/hicolor/48/apps/all.png "
            "high/icons/hicolor/48@2/apps/all.png high/icons/hicolor/64/apps/all.png "
            "high/icons/hicolor/16/apps/all.png ");
  EXPECT_EQ(found("themed.png"), "high/icons/hicolor/48/apps/themed.png ");
  EXPECT_EQ(found("low"), "low/icons/hicolor/48/apps/low.png ");
  EXPECT_EQ(found("pix"), "low/pixmaps/pix.xpm ");
  EXPECT_EQ(found((home.path() / "low/pixmaps/pix.xpm").string()), "low/pixmaps/pix.xpm ");
  for (const char* none :
       {"", "none", "../../low/icons/hicolor/48/apps/low", "48/apps/all", ".."}) {
    EXPECT_EQ(found(none), "") << none;
  }
  put(home.path() / "config/gtk-3.0/settings.ini", "[Settings]\ngtk-icon-theme-name=Own\n");
  EXPECT_EQ(found("themed"), "high/icons/Parent/24/themed.png ");
}

constexpr const char* kSVG =
    R"(<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" )"
    R"(width="8" height="8"><rect width="8" height="8" fill="#102030"/>)";

// Twelve to the seventh uses of one rectangle.
std::string svgBomb() {
  std::string text = std::string(kSVG) + R"(<g id="l0"><rect width="1" height="1"/></g>)";
  for (int level = 1; level < 8; ++level) {
    text += "<g id=\"l" + std::to_string(level) + "\">";
    for (int i = 0; i < 12; ++i)
      text += "<use xlink:href=\"#l" + std::to_string(level - 1) + "\"/>";
    text += "</g>";
  }
  return text + "</svg>";
}

TEST_F(Desktop, EveryApplicationGetsAPictureWhateverItsIconIs) {
  const auto pictures = home.path() / "pictures";
  put(pictures / "good.svg", std::string(kSVG) + "</svg>");
  put(pictures / "good.xpm",
      "/* XPM */\nstatic char* x[] = {\"2 1 2 1\", \"  c None\", \". c #102030\", \". \"};");
  put(pictures / "bomb.svg", svgBomb());
  put(pictures / "wide.xpm", "/* XPM */\nstatic char* x[] = {\"99999 99999 1 1\", \". c #1\"};");
  put(pictures / "cut.xpm",
      "/* XPM */\nstatic char* x[] = {\"2 2 1 1\", \". c #102030\", \"..\"};");
  put(pictures / "text.png", "no picture");
  put(pictures / "large.png", std::string(5 << 20, 'x'));
  put(pictures / "head.png", std::string("\x89PNG\r\n\x1a\n", 8));
  ASSERT_EQ(mkfifo((pictures / "fifo.png").c_str(), 0600), 0);
  std::filesystem::create_symlink("loop.png", pictures / "loop.png");
  const auto workspace = makeLinuxWorkspace({"/proc", TARVEL_ICON_PROGRAM, [](std::int32_t) {
                                               return ProgramRun{1, "program"};
                                             }});
  const auto drawn = [&](const std::string& file) {
    const Icon icon = {{{48, 48, 48, (pictures / file).string()}}, file};
    return workspace->TIFFRepresentation(icon, 0);
  };
  const Data generic = workspace->TIFFRepresentation(Icon{{}, "generic"});
  ASSERT_FALSE(generic.empty());
  EXPECT_NE(drawn("good.svg"), generic);
  EXPECT_NE(drawn("good.xpm"), generic);
  for (const char* bad : {"bomb.svg", "wide.xpm", "cut.xpm", "text.png", "large.png", "head.png",
                          "fifo.png", "loop.png", "none.png"}) {
    EXPECT_EQ(drawn(bad), generic) << bad;
  }
  const Icon withSubstitute = {{{48, 48, 48, (pictures / "head.png").string()},
                                {32, 32, 32, (pictures / "good.svg").string()}},
                               "substitute"};
  EXPECT_NE(workspace->TIFFRepresentation(withSubstitute, 0), generic);
  EXPECT_EQ(drawn("good.svg"), Data()) << "drawn for this folder already";
}

TEST(Drawings, HaveTheirTurnsOnce) {
  std::string folder = "1";
  DrawingTurns turns(std::chrono::hours(1), [&] { return folder; });
  {
    const auto first = turns.take("a");
    EXPECT_TRUE(first);
    EXPECT_FALSE(turns.take("a")) << "is being drawn";
    const auto second = turns.take("b");
    EXPECT_TRUE(second);
    EXPECT_FALSE(turns.isFree("c")) << "two are being drawn";
  }
  EXPECT_TRUE(turns.isFree("c"));
  EXPECT_FALSE(turns.isFree("a")) << "did not come to stay";
  folder = "2";
  EXPECT_TRUE(turns.take("a"));
  EXPECT_FALSE(turns.take("a"));
  turns.forget();
  EXPECT_TRUE(turns.take("a"));
}

TEST_F(Desktop, WorkIsBoundedWhateverTheFoldersHold) {
  entry("high/applications/org.a.Once.desktop", "Exec=once\nIcon=once\n");
  for (const char name : std::string("abcdef")) {
    std::filesystem::create_directory_symlink(
        ".", home.path() / "high/applications" / (name + std::string("x")));
  }
  DesktopIndex index(dataFolders());
  EXPECT_TRUE(index.refresh());
  EXPECT_EQ(index.size(), 1U);

  std::string folders;
  for (int i = 0; i < 60000; ++i) folders += "48x48/apps,";
  put(home.path() / "base/hicolor/index.theme", "[Icon Theme]\nDirectories=" + folders + "\n");
  put(home.path() / "base/hicolor/48x48/apps/once.png", "");
  EXPECT_EQ(iconFiles("once", {{(home.path() / "base").string()}, {}, "hicolor"}).size(), 1U);
}

TEST_F(Desktop, WhatAProcessBelongsToIsRememberedForItsLife) {
  entry("high/applications/org.a.Program.desktop", "Exec=prog\nIcon=none\n");
  process(1, "/x/prog");
  ProgramRun run{1, "prog"};
  const auto workspace = makeLinuxWorkspace({(home.path() / "proc").string(), TARVEL_ICON_PROGRAM,
                                             [&](std::int32_t) { return std::optional(run); }});
  const auto identifier = [&]() -> std::string {
    const auto serial = workspace->GetProcessForPID(1);
    if (!serial) return "";
    return workspace->bundleIdentifier(*workspace->GetProcessBundleLocation(*serial)).value_or("?");
  };
  EXPECT_EQ(identifier(), "org.a.Program");
  std::filesystem::remove(home.path() / "proc/1/exe");
  EXPECT_EQ(identifier(), "org.a.Program");  // not looked at again
  run.startTime = 2;                         // the id was given anew
  EXPECT_EQ(identifier(), "");
  process(1, "/x/prog");
  EXPECT_EQ(identifier(), "") << "what an old process belongs to is not looked at again";
  run.name = "other";  // by exec
  EXPECT_EQ(identifier(), "org.a.Program");
  std::filesystem::remove(home.path() / "proc/1/exe");
  timespec now{};
  ::clock_gettime(CLOCK_BOOTTIME, &now);
  run.startTime = static_cast<std::uint64_t>(now.tv_sec * ::sysconf(_SC_CLK_TCK));  // just now
  EXPECT_EQ(identifier(), "");
  process(1, "/x/prog");
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_EQ(identifier(), "org.a.Program") << "what a young one belongs to is looked at again";
}

}  // namespace
}  // namespace tarvel
