#include "platform/linux/process_rights.h"

#include <array>
#include <cerrno>

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tarvel {
namespace {

// A thread's sets, a bit for each capability.
struct Rights {
  std::uint64_t effective = 0;
  std::uint64_t permitted = 0;
  std::uint64_t inheritable = 0;
};

using Words = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

Rights rightsOfThread() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  Words words{};
  Rights rights;
  if (::syscall(SYS_capget, &header, words.data()) != 0) return rights;
  for (std::size_t i = words.size(); i-- > 0;) {
    rights.effective = rights.effective << 32 | words[i].effective;
    rights.permitted = rights.permitted << 32 | words[i].permitted;
    rights.inheritable = rights.inheritable << 32 | words[i].inheritable;
  }
  return rights;
}

std::uint32_t low(std::uint64_t set) { return static_cast<std::uint32_t>(set); }
std::uint32_t high(std::uint64_t set) { return static_cast<std::uint32_t>(set >> 32); }

bool setRights(const Rights& rights) {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  Words words{};
  words[0] = {low(rights.effective), low(rights.permitted), low(rights.inheritable)};
  words[1] = {high(rights.effective), high(rights.permitted), high(rights.inheritable)};
  return ::syscall(SYS_capset, &header, words.data()) == 0;
}

}  // namespace

bool mayPassCommands() { return (rightsOfThread().permitted >> CAP_SYS_RAWIO & 1) != 0; }

void keepRightsInReserve() {
  if (::geteuid() == 0) return;
  ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
  setRights({0, rightsOfThread().permitted, 0});
}

RaisedRights::RaisedRights() {
  Rights rights = rightsOfThread();
  before_ = rights.effective;
  if (rights.effective == rights.permitted) return;
  rights.effective = rights.permitted;
  raised_ = setRights(rights);
}

RaisedRights::~RaisedRights() {
  if (!raised_) return;
  const int error = errno;  // of the call that the rights were for
  Rights rights = rightsOfThread();
  rights.effective = before_;
  setRights(rights);
  errno = error;
}

}  // namespace tarvel
