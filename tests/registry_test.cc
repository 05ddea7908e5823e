#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "platform/host/presence/activation.h"
#include "platform/host/presence/application_registry.h"
#include "tests/temporary_home.h"
#include "tests/worker_process.h"

namespace tarvel {
namespace {

class RegistryTest : public testing::Test {
 protected:
  std::filesystem::path folder() const { return home.path() / "run/com.Tarvel/apps"; }

  // A file as a program of somebody else makes it; locked for as long as the result lives.
  FileDescriptor foreign(const std::string& name, bool locked, std::time_t age = 0) const {
    FileDescriptor file(::open((folder() / name).c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0644));
    const timespec times[2] = {{std::time(nullptr) - age, 0}, {std::time(nullptr) - age, 0}};
    ::futimens(file.get(), times);
    if (locked) ::flock(file.get(), LOCK_EX);
    return file;
  }

  TemporaryHome home;
};

TEST_F(RegistryTest, SeesInstancesComeAndGo) {
  const ApplicationRegistry registry("com.Tarvel");
  ASSERT_EQ(registry.running("com.Tarvel").size(), 1U);
  EXPECT_TRUE(registry.running("com.Tarvel")[0].isCurrent);
  WorkerProcess second({"register", "com.Tarvel"});
  EXPECT_EQ(second.line(), "2");
  WorkerProcess helper({"register", "com.Tarvel.Helper"});
  EXPECT_EQ(helper.line(), "1");
  const auto running = registry.running("com.Tarvel");
  ASSERT_EQ(running.size(), 2U);
  EXPECT_FALSE(running[1].isCurrent);
  EXPECT_NE(running[0].instance, running[1].instance);
  EXPECT_EQ(registry.running("com.Tarvel.Widget").size(), 0U);
  EXPECT_EQ(registry.running("com").size(), 0U);
  second.wait();
  helper.kill();
  EXPECT_EQ(registry.running("com.Tarvel").size(), 1U);
  EXPECT_EQ(registry.running("com.Tarvel.Helper").size(), 0U);
}

TEST_F(RegistryTest, KeepsAPrivateFileWithItsNumberAndRemovesIt) {
  {
    const ApplicationRegistry first("com.Tarvel");
    const ApplicationRegistry second("com.Tarvel");
    const auto instances = second.running("com.Tarvel");
    ASSERT_EQ(instances.size(), 2U);
    for (const auto& instance : instances) {
      const auto path = folder() / ("com.Tarvel@" + instance.instance);
      struct stat status {};
      ::stat(path.c_str(), &status);
      EXPECT_EQ(status.st_mode & 07777, 01600U);
      EXPECT_EQ(contentsOf(path), std::to_string(::getpid()));
    }
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder()));
}

TEST_F(RegistryTest, CountsLockedFilesOfOthersAndRemovesStaleOnes) {
  const ApplicationRegistry registry("com.Tarvel.Helper");
  const auto younger = foreign("com.Tarvel@b", true, 10);
  const auto older = foreign("com.Tarvel@a b", true, 2000);
  foreign("com.Tarvel@stale", false, 100);
  foreign("com.Tarvel@fresh", false, 30);
  foreign("com.Tarvel", true);
  std::filesystem::create_symlink(folder() / "com.Tarvel@b", folder() / "com.Tarvel@link");
  const auto running = registry.running("com.Tarvel");
  ASSERT_EQ(running.size(), 2U);
  EXPECT_EQ(running[0].instance, "a b");
  EXPECT_EQ(running[1].instance, "b");
  EXPECT_FALSE(std::filesystem::exists(folder() / "com.Tarvel@stale"));
  EXPECT_TRUE(std::filesystem::exists(folder() / "com.Tarvel@fresh"));
}

TEST_F(RegistryTest, TrustsNoFolderThatOthersMayWriteTo) {
  { const ApplicationRegistry made; }
  for (const auto* const unsafe : {"run/com.Tarvel/apps", "run/com.Tarvel"}) {
    const auto path = home.path() / unsafe;
    const auto other = foreign("com.Tarvel@other", true);
    ::chmod(path.c_str(), 0770);
    const ApplicationRegistry registry("com.Tarvel");
    EXPECT_EQ(registry.running("com.Tarvel").size(), 1U) << "only oneself";
    ::chmod(path.c_str(), 0755);
    EXPECT_EQ(ApplicationRegistry("com.Tarvel").running("com.Tarvel").size(), 2U);
  }
  if (::chown((home.path() / "run").c_str(), 4711, static_cast<gid_t>(-1)) == 0) {  // takes root
    EXPECT_EQ(ApplicationRegistry("com.Tarvel").folder().find(home.path()), std::string::npos);
    ASSERT_EQ(::chown((home.path() / "run").c_str(), ::geteuid(), static_cast<gid_t>(-1)), 0);
  }
  std::filesystem::rename(home.path() / "run/com.Tarvel", home.path() / "elsewhere");
  std::filesystem::create_symlink(home.path() / "elsewhere", home.path() / "run/com.Tarvel");
  EXPECT_EQ(ApplicationRegistry("com.Tarvel").running("com.Tarvel").size(), 1U) << "a link";
}

TEST_F(RegistryTest, RefusesNamesThatAreNoIdentifiers) {
  const ApplicationRegistry registry("../com.Tarvel");
  EXPECT_EQ(registry.running("../com.Tarvel").size(), 1U);
  EXPECT_TRUE(std::filesystem::is_empty(folder()));
}

TEST_F(RegistryTest, ActivatesByALineInTheLog) {
  const ApplicationRegistry registry("com.Tarvel.Helper");
  KeptLog log;
  const auto applications = makeRunningApplications(registry, log);
  const auto running = applications->runningApplicationsWithBundleIdentifier("com.Tarvel.Helper");
  ASSERT_EQ(running.size(), 1U);
  applications->activateWithOptions(running[0], kActivateAllWindows);
  EXPECT_EQ(log.lines.size(), 1U);
}

TEST_F(RegistryTest, ActivationReachesTheInstanceThatListens) {
  const ApplicationRegistry registry("com.Tarvel.Window");
  const ApplicationRegistry other;
  const auto running = other.running("com.Tarvel.Window");
  ASSERT_EQ(running.size(), 1U);
  EXPECT_FALSE(askToActivate(other, running[0], "page"));
  {
    ActivationInbox inbox(registry, "com.Tarvel.Window");
    EXPECT_FALSE(inbox.take());
    EXPECT_TRUE(askToActivate(other, running[0], "page\ntoken"));
    EXPECT_EQ(inbox.take(), "page\ntoken");
    EXPECT_TRUE(askToActivate(other, running[0], std::string(5000, 'x')));
    EXPECT_EQ(inbox.take().value_or("").size(), 4096U);
    EXPECT_EQ(other.running("com.Tarvel.Window").size(), 1U) << "the socket is no instance";
  }
  EXPECT_FALSE(askToActivate(other, running[0], "page"));
  const ApplicationRegistry unregistered;
  EXPECT_EQ(ActivationInbox(unregistered, "com.Tarvel.Window").descriptor(), -1);
}

}  // namespace
}  // namespace tarvel
