#include <chrono>
#include <filesystem>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/bundle.h"
#include "platform/host/container/update_state.h"
#include "platform/linux/linux_authorization.h"
#include "platform/linux/linux_run_loop.h"
#include "platform/linux/linux_updaters.h"
#include "tests/temporary_home.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr std::int32_t kDenied = -60005;         // errAuthorizationDenied
constexpr std::int32_t kExecuteFailed = -60031;  // errAuthorizationToolExecuteFailure
constexpr const char* kIdentifier = "org.tarvel.scratch";

std::string infoOf(const std::string& identifier, const std::string& more = "") {
  return "<plist><dict><key>CFBundleIdentifier</key> <string>" + identifier + "</string>" + more +
         "</dict></plist>";
}

class ScratchBundle : public Bundle {
 public:
  explicit ScratchBundle(std::string path) : path_(std::move(path)) {}
  std::string bundleIdentifier() override { return kIdentifier; }
  std::string bundlePath() override { return path_; }

 private:
  std::string path_;
};

// Whatever comes true in the end, seen soon after; false when it has not in ten seconds.
template <typename Condition>
bool soon(Condition condition) {
  for (int i = 0; i < 1000 && !condition(); ++i) std::this_thread::sleep_for(10ms);
  return condition();
}

class RemovalTest : public testing::Test {
 protected:
  RemovalTest() {
    fs::create_directories(bundle / "inner");
    writeFile(bundle / "Info.plist", infoOf(kIdentifier));
  }

  std::int32_t remove(const std::string& own, const std::string& tool,
                      const std::vector<std::string>& arguments) {
    ScratchBundle scratch(own);
    const auto reference = makeLinuxAuthorization(scratch, log)->AuthorizationCreate();
    return reference->AuthorizationExecuteWithPrivileges(tool, arguments);
  }
  std::int32_t remove(const fs::path& own) {
    return remove(own.string(), "/bin/rm", {"-rf", own.string()});
  }

  TemporaryHome home;
  KeptLog log;
  fs::path folder = fs::canonical(home.path());
  fs::path bundle = folder / "Scratch.app";
};

TEST_F(RemovalTest, RefusesAllButTheFolderOfTheBundle) {
  fs::create_directory_symlink(folder, folder / "link");
  fs::create_directory_symlink(bundle, folder / "Linked.app");
  fs::create_directories(folder / "Empty.app");
  fs::create_directories(folder / "Other.app");
  writeFile(folder / "Other.app/Info.plist", infoOf("org.tarvel.other"));
  fs::create_directories(folder / "InfoLinked.app");
  fs::create_symlink(bundle / "Info.plist", folder / "InfoLinked.app/Info.plist");

  const std::string own = bundle;
  const fs::path other = folder / "Other.app";
  // Words of a command line; this file's folder names have no blanks in them.
  const std::string commands[] = {"/bin/rmdir -rf " + own,
                                  "rm -rf " + own,
                                  "/bin/rm " + own,
                                  "/bin/rm -r " + own,
                                  "/bin/rm -rf " + other.string(),
                                  "/bin/rm -rf " + own + " " + own,
                                  "/bin/rm -rf",
                                  "/bin/rm -rf " + folder.string(),
                                  "/bin/rm -rf " + own + "/"};
  for (const std::string& command : commands) {
    std::istringstream words(command);
    std::vector<std::string> arguments{std::istream_iterator<std::string>(words), {}};
    const std::string tool = arguments.front();
    arguments.erase(arguments.begin());
    EXPECT_EQ(remove(own, tool, arguments), kDenied) << command;
  }
  for (const std::string& path :
       {std::string(), std::string("/"), std::string("Scratch.app"), own + "/",
        own + "/../Scratch.app", (folder / "link/Scratch.app").string(),
        (folder / "Linked.app").string(), (bundle / "Info.plist").string(), other.string(),
        (folder / "None.app").string(), (folder / "Empty.app").string(),
        (folder / "InfoLinked.app").string()}) {
    log.lines.clear();
    EXPECT_EQ(remove(path), kDenied) << path;
    EXPECT_EQ(log.lines.size(), 1U) << path;
  }
  EXPECT_TRUE(fs::exists(bundle / "Info.plist"));
  EXPECT_TRUE(fs::exists(other / "Info.plist"));
}

TEST_F(RemovalTest, RefusesWhatIsMountedBelow) {
  const fs::path spaced = bundle / "a place";  // the table of mounts spells it with \040
  fs::create_directories(spaced);
  for (const fs::path& place : {bundle, bundle / "inner", spaced}) {
    if (::mount(place.c_str(), place.c_str(), nullptr, MS_BIND, nullptr) != 0) {
      GTEST_SKIP() << "no right to mount";
    }
    EXPECT_EQ(remove(bundle), kDenied) << place;
    EXPECT_EQ(::umount2(place.c_str(), MNT_DETACH), 0) << place;
    EXPECT_TRUE(fs::exists(bundle / "Info.plist"));
  }
}

TEST_F(RemovalTest, RootRemovesTheBundleAndNothingElse) {
  if (::geteuid() != 0) GTEST_SKIP() << "not root";
  writeFile(folder / "Scratch.app2", "kept");
  ASSERT_EQ(remove(bundle), 0);
  EXPECT_TRUE(soon([&] { return !fs::exists(bundle); }));
  EXPECT_TRUE(fs::exists(folder / "Scratch.app2"));
  EXPECT_TRUE(log.lines.empty());
}

TEST_F(RemovalTest, SaysWhetherTheUserWasAsked) {
  if (::geteuid() != 0) GTEST_SKIP() << "not root";
  fs::permissions(folder, fs::perms(0755));
  fs::create_directory(folder / "bin");
  const struct {
    const char* pkexec;  // null: there is none
    std::int32_t status;
  } rows[] = {{nullptr, kExecuteFailed},
              {"exit 126", kDenied},
              {"exit 127", kDenied},
              {"exit 1", 0},
              {"exit 0", 0}};
  for (const auto& row : rows) {
    const fs::path program = folder / "bin/pkexec";
    if (row.pkexec != nullptr) {
      writeFile(program, std::string("#!/bin/sh\n") + row.pkexec + "\n");
      fs::permissions(program, fs::perms(0755));
    }
    const pid_t child = ::fork();
    if (child == 0) {
      ::setenv("PATH", (folder / "bin").c_str(), 1);
      const bool changed = ::setgid(65534) == 0 && ::setuid(65534) == 0;
      ::_exit(changed && remove(bundle) == row.status ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0) << (row.pkexec == nullptr ? "no pkexec" : row.pkexec);
  }
  EXPECT_TRUE(fs::exists(bundle));
}

TEST_F(RemovalTest, UsesNoRightsOfRootInFoldersOfOthers) {
  if (::geteuid() != 0) GTEST_SKIP() << "not root";
  constexpr uid_t kUser = 4711;
  const auto give = [&](const fs::path& path) { return ::chown(path.c_str(), kUser, 0) == 0; };
  ASSERT_TRUE(give(folder));
  EXPECT_EQ(remove(bundle), kDenied) << "the user could put a link in its place";
  EXPECT_EQ(log.lines.size(), 1U);
  for (const auto& entry : fs::recursive_directory_iterator(bundle)) ASSERT_TRUE(give(entry));
  ASSERT_TRUE(give(bundle));
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv("PATH", "/nowhere", 1);  // no pkexec
    const bool changed = ::setgid(kUser) == 0 && ::setuid(kUser) == 0;
    ::_exit(changed && remove(bundle) == 0 ? 0 : 1);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_FALSE(fs::exists(bundle));
}

// Runs the work at the delay's end, when told.
class HeldRunLoop : public RunLoop {
 public:
  bool isEnding() override { return false; }
  Timer& scheduledTimer(std::chrono::milliseconds, std::function<void()>) override { std::abort(); }
  void performSelectorInBackground(std::string_view, std::function<void()> action) override {
    action();
  }
  void performSelectorOnMainThread(const std::function<void()>& action) override { action(); }
  void dispatchAfter(std::chrono::milliseconds after, std::function<void()> action) override {
    delays.push_back(after);
    work = std::move(action);
  }
  void terminate() override {}

  std::vector<std::chrono::milliseconds> delays;
  std::function<void()> work;
};

class ScheduleTest : public testing::Test {
 protected:
  ScheduleTest() {
    fs::create_directory(bundle);
    const std::string own = bundle;
    writeFile(bundle / "tarvel-update", "#!/bin/sh\necho \"$*\" >>'" + own + "/started'\n");
    fs::permissions(bundle / "tarvel-update", fs::perms::owner_all);
    setFeed("");
  }

  void setFeed(const std::string& feed) const {
    writeFile(bundle / "Info.plist",
              infoOf(kIdentifier, "<key>SUFeedURL</key><string>" + feed + "</string>"));
  }
  // What has been started, once an interactive check asked for now, the last, has been too.
  std::string started() {
    updater.checkForUpdates();
    const std::string last = "interactive " + bundle.string() + "\n";
    EXPECT_TRUE(soon([&] { return contentsOf(bundle / "started").ends_with(last); }));
    std::this_thread::sleep_for(20ms);
    std::string lines = contentsOf(bundle / "started");
    writeFile(bundle / "started", "");
    return lines;
  }
  std::string line(const char* mode) const { return mode + (" " + bundle.string() + "\n"); }

  TemporaryHome home;
  fs::path bundle = home.path() / "Scratch.app";
  HeldRunLoop loop;
  std::unique_ptr<Updaters> updaters = makeLinuxUpdaters(loop, bundle.string());
  Updater& updater = updaters->updaterForBundle(kIdentifier);
};

TEST_F(ScheduleTest, LooksByItselfOnlyWithAFeed) {
  updater.setUpdateCheckInterval(24h);
  updater.checkForUpdatesInBackground();
  EXPECT_EQ(started(), line("interactive"));
  setFeed("https://updates.invalid/feed.xml");
  updater.checkForUpdatesInBackground();
  ASSERT_TRUE(soon([&] { return contentsOf(bundle / "started") == line("background"); }));
  EXPECT_EQ(started(), line("background") + line("interactive"));
}

TEST_F(ScheduleTest, RemembersTheLastCheckAcrossRuns) {
  setFeed("https://updates.invalid/feed.xml");
  noteUpdateCheck();
  updater.setAutomaticallyChecksForUpdates(true);
  updater.setUpdateCheckInterval(24h);
  updater.checkForUpdatesInBackground();
  EXPECT_EQ(started(), line("interactive"));

  // The scheduled check finds it too early as well, and waits for the rest of the day.
  loop.work();
  EXPECT_EQ(started(), line("interactive"));
  EXPECT_EQ(loop.delays.front(), 24h);
  EXPECT_LE(loop.delays.back(), 24h);
  EXPECT_GT(loop.delays.back(), 23h);

  const fs::path note = home.path() / "data/QX8JD3LW6H.com.Tarvel/Library/Caches/LastUpdateCheck";
  for (const auto shift : {-25h, 25h}) {  // long ago; and by a clock since set right
    fs::last_write_time(note, fs::file_time_type::clock::now() + shift);
    updater.checkForUpdatesInBackground();
    ASSERT_TRUE(soon([&] { return contentsOf(bundle / "started") == line("background"); }));
    EXPECT_EQ(started(), line("background") + line("interactive"));
  }
}

}  // namespace
}  // namespace tarvel
