#include "platform/linux/process_rights.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/host/files/small_file.h"
#include "platform/host/processes/child_process.h"
#include "platform/linux/sysfs.h"
#include "tests/temporary_home.h"

namespace tarvel {
namespace {

// As a unit gives it to a user's process: permitted, inheritable and ambient.
bool becomeUserWith(int capability) {
  if (::prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) != 0 || ::setgid(4711) != 0 || ::setuid(4711) != 0) {
    return false;
  }
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const auto bit = std::uint32_t{1} << capability;
  __user_cap_data_struct words[_LINUX_CAPABILITY_U32S_3] = {{bit, bit, bit}, {0, 0, 0}};
  return ::syscall(SYS_capset, &header, words) == 0 &&
         ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, static_cast<unsigned long>(capability), 0,
                 0) == 0;
}

// Which of the steps is not as it must be; 0 when all are.
int firstFault(const std::string& secret) {
  if (!becomeUserWith(CAP_DAC_READ_SEARCH)) return 1;
  if (!readSmallFile(secret, 100)) return 2;  // the right is there
  keepRightsInReserve();
  if (readSmallFile(secret, 100)) return 3;
  if (readAttribute(secret) != "secret") return 4;
  if (readSmallFile(secret, 100)) return 5;
  const auto status = readProgramOutput("/bin/cat", {"/proc/self/status"});
  const bool none = status.find("CapPrm:\t0000000000000000") != std::string::npos &&
                    status.find("CapAmb:\t0000000000000000") != std::string::npos;
  return none ? 0 : 6;
}

TEST(ProcessRights, ServeSensorFilesAlone) {
  if (::geteuid() != 0) GTEST_SKIP() << "not root";
  const TemporaryHome home;
  std::filesystem::permissions(home.path(), std::filesystem::perms(0755));
  const std::string secret = home.path() / "secret";
  writeFile(secret, "secret\n");
  std::filesystem::permissions(secret, std::filesystem::perms(0400));
  const pid_t child = ::fork();
  if (child == 0) ::_exit(firstFault(secret));
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
}  // namespace tarvel
