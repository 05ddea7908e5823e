#include "platform/host/files/files.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/files/atomic_file.h"
#include "platform/host/files/file_descriptor.h"
#include "platform/host/standard_error_log.h"
#include "tests/temporary_home.h"

namespace tarvel {
namespace {

namespace fs = std::filesystem;

Data bytes(std::string_view text) { return {text.begin(), text.end()}; }

TEST(GroupContainer, StandsWhereTheEnvironmentSays) {
  const TemporaryHome home;
  const std::string path = home.path();
  const struct {
    const char* data;
    std::string expected;
  } cases[] = {{nullptr, path + "/.local/share/group"},
               {"", path + "/.local/share/group"},
               {"relative", path + "/.local/share/group"},
               {path.c_str(), path + "/group"}};
  const char* const homeBefore = std::getenv("HOME");
  const std::string before = homeBefore == nullptr ? "" : homeBefore;
  ::setenv("HOME", path.c_str(), 1);
  for (const auto& [data, expected] : cases) {
    ::unsetenv("XDG_DATA_HOME");
    if (data != nullptr) ::setenv("XDG_DATA_HOME", data, 1);
    EXPECT_EQ(groupContainer("group"), expected);
    EXPECT_TRUE(fs::is_directory(expected + "/Library/Preferences"));
    EXPECT_TRUE(fs::is_directory(expected + "/Library/Caches"));
    EXPECT_EQ(fs::status(expected).permissions(), fs::perms::owner_all);
  }
  ::setenv("HOME", before.c_str(), 1);
}

TEST(GroupContainer, IsNoneWhereItCannotBe) {
  const TemporaryHome home;
  for (const auto* const name : {"", ".", "..", "a/b"}) EXPECT_FALSE(groupContainer(name)) << name;
  writeFile(home.path() / "data", "");
  EXPECT_FALSE(groupContainer("group"));
}

TEST(GroupContainer, IsTheEffectiveUsersAlone) {
  const TemporaryHome home;
  const std::string data = home.path() / "data";
  ASSERT_TRUE(groupContainer("group"));
  const auto own = ::geteuid();
  const struct {
    std::string path;
    mode_t mode;
    uid_t owner;
    bool usable;
  } cases[] = {
      {data + "/group", 0755, own, true},   {data + "/group", 0770, own, false},
      {data + "/group", 0702, own, false},  {data + "/group/Library/Preferences", 0722, own, false},
      {data + "/group", 0700, 4711, false}, {data + "/group/Library/Caches", 0700, 4711, false}};
  for (const auto& [path, mode, owner, usable] : cases) {
    SCOPED_TRACE(path + " " + std::to_string(mode) + " " + std::to_string(owner));
    ::chmod(path.c_str(), mode);
    if (::chown(path.c_str(), owner, static_cast<gid_t>(-1)) != 0) continue;  // takes root
    std::string refusal;
    EXPECT_EQ(groupContainer("group", &refusal).has_value(), usable);
    EXPECT_EQ(refusal.empty(), usable) << refusal;
    if (usable) {
      EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
    }
    ASSERT_EQ(::chown(path.c_str(), own, static_cast<gid_t>(-1)), 0);
    ::chmod(path.c_str(), 0700);
  }
  if (::chown(data.c_str(), 4711, static_cast<gid_t>(-1)) == 0) {
    EXPECT_FALSE(groupContainer("other"));
    EXPECT_FALSE(fs::exists(data + "/other"));
  }
}

TEST(FileManager, RemovesFoldersAndLinksButNothingBehindThem) {
  const TemporaryHome home;
  const auto files = makeFileManager();
  fs::create_directories(home.path() / "kept/inner");
  writeFile(home.path() / "kept/inner/file", "kept");
  fs::create_directories(home.path() / "icons/inner/deep");
  writeFile(home.path() / "icons/inner/file", "");
  fs::create_directory_symlink(home.path() / "kept", home.path() / "icons/inner/link");
  fs::create_directory_symlink(home.path() / "kept", home.path() / "link");
  fs::create_symlink("nowhere", home.path() / "dangling");
  EXPECT_TRUE(files->fileExistsAtPath(home.path() / "link/inner"));
  EXPECT_FALSE(files->fileExistsAtPath(home.path() / "dangling"));
  for (const auto* const name : {"icons/", "link/", "dangling", "missing", ""}) {
    files->removeItemAtPath(*name == '\0' ? "" : (home.path() / name).string());
  }
  EXPECT_EQ(contentsOf(home.path() / "kept/inner/file"), "kept");
  fs::remove_all(home.path() / "kept");
  fs::remove(home.path() / "run");
  EXPECT_TRUE(fs::is_empty(home.path()));
}

TEST(FileManager, MakesOneFolderOnly) {
  const TemporaryHome home;
  const auto files = makeFileManager();
  files->createDirectoryAtPath(home.path() / "a/b");
  EXPECT_FALSE(fs::exists(home.path() / "a"));
  files->createDirectoryAtPath(home.path() / "a/");
  EXPECT_TRUE(fs::is_directory(home.path() / "a"));
  writeFile(home.path() / "file", "kept");
  files->createDirectoryAtPath(home.path() / "file");
  EXPECT_EQ(contentsOf(home.path() / "file"), "kept");
}

TEST(FileManager, LeavesNothingOfAWriteThatFails) {
  const TemporaryHome home;
  fs::create_directories(home.path() / "taken/inner");
  makeFileManager()->writeToFile(bytes("new"), home.path() / "taken");
  makeFileManager()->writeToFile(bytes("new"), home.path() / "missing/file");
  std::vector<std::string> left;
  for (const auto& entry : fs::directory_iterator(home.path())) {
    left.push_back(entry.path().filename());
  }
  std::ranges::sort(left);
  EXPECT_EQ(left, (std::vector<std::string>{"run", "taken"}));
}

TEST(AtomicFile, ReplacesFilesAndLinksAndNothingElse) {
  const TemporaryHome home;
  const fs::path path = home.path() / "file";
  writeFile(home.path() / "kept", "kept");
  const struct {
    const char* what;
    std::function<void()> make;
    bool replaced;
  } cases[] = {{"nothing", [] {}, true},
               {"a file", [&] { writeFile(path, "old"); }, true},
               {"a link", [&] { fs::create_symlink(home.path() / "kept", path); }, true},
               {"a FIFO", [&] { ::mkfifo(path.c_str(), 0600); }, false},
               {"a folder", [&] { fs::create_directory(path); }, false}};
  const mode_t mask = ::umask(077);  // as in a service
  for (const auto& [what, make, replaced] : cases) {
    SCOPED_TRACE(what);
    fs::remove_all(path);
    make();
    EXPECT_EQ(replaceFile(path, "new", FileReaders::all), replaced);
    if (!replaced) continue;
    EXPECT_EQ(contentsOf(path), "new");
    EXPECT_EQ(static_cast<unsigned>(fs::symlink_status(path).permissions()), 0644U);
    EXPECT_TRUE(replaceFile(path, "mine", FileReaders::owner));
    EXPECT_EQ(static_cast<unsigned>(fs::status(path).permissions()), 0600U);
  }
  ::umask(mask);
  EXPECT_EQ(contentsOf(home.path() / "kept"), "kept");
  EXPECT_EQ(std::distance(fs::directory_iterator(home.path()), {}), 3);  // run, file, kept
}

TEST(FileManager, ReplacesFilesAsAWhole) {
  const TemporaryHome home;
  const auto files = makeFileManager();
  const fs::path path = home.path() / "run/icon";
  files->writeToFile(bytes(std::string(100000, '0')), path);
  std::vector<std::thread> writers;
  std::atomic<int> running = 4;
  for (char letter = 'a'; letter < 'e'; ++letter) {
    writers.emplace_back([&, letter] {
      const Data data = bytes(std::string(100000, letter));
      for (int i = 0; i < 50; ++i) files->writeToFile(data, path);
      --running;
    });
  }
  while (running > 0) {
    const std::string seen = contentsOf(path);
    EXPECT_EQ(seen, std::string(100000, seen.empty() ? '?' : seen[0]));
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(std::distance(fs::directory_iterator(path.parent_path()), {}), 1);
}

TEST(SystemLog, WritesOneSafeLine) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const FileDescriptor output(ends[0]);
  const FileDescriptor saved(::dup(STDERR_FILENO));
  ::dup2(ends[1], STDERR_FILENO);
  ::close(ends[1]);
  const auto log = makeSystemLog();
  log->NSLog("Grüße\n\x1b[31m\xff\u0085\x7f.");
  log->NSLog(std::string(100000, 'x'));
  ::dup2(saved.get(), STDERR_FILENO);
  std::string text(10000, '\0');
  text.resize(static_cast<std::size_t>(::read(output.get(), text.data(), text.size())));
  EXPECT_EQ(text, "Grüße??[31m???.\n" + std::string(4095, 'x') + "\n");
}

}  // namespace
}  // namespace tarvel
