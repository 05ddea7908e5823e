// stuck_root FOLDER: a process whose root hangs whoever looks for a file in it. Mounts a file
// system in user space on the folder, in a mount namespace of its own, whose server answers what
// changing the root takes and no look-up ever; then a child named "stuckroot" makes it its root and
// keeps a core half busy. Needs root; ends with its standard input.
//
// The messages are those of <linux/fuse.h>; each is a header with a body behind it.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include <fcntl.h>
#include <linux/fuse.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int mountOn(const char* folder) {
  const int device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
  const std::string options =
      "fd=" + std::to_string(device) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
  const bool mounted = ::unshare(CLONE_NEWNS) == 0 &&
                       ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                       ::mount("stuck", folder, "fuse", MS_NOSUID | MS_NODEV, options.c_str()) == 0;
  return mounted ? device : -1;
}

template <typename Body>
void answer(int device, std::uint64_t unique, int error, const Body& body, std::size_t size) {
  struct {
    fuse_out_header header;
    Body body;
  } message{{static_cast<std::uint32_t>(sizeof(fuse_out_header) + size), error, unique}, body};
  if (::write(device, &message, message.header.len) < 0) std::perror("answer");
}

void serve(int device) {
  alignas(fuse_in_header) static char buffer[1 << 17];
  while (::read(device, buffer, sizeof buffer) >= 0 || errno == EINTR || errno == ENOENT) {
    fuse_in_header request{};
    std::memcpy(&request, buffer, sizeof request);
    if (request.opcode == FUSE_INIT) {
      fuse_init_out body{};
      body.major = FUSE_KERNEL_VERSION;
      body.minor = 31;
      body.max_write = 4096;
      answer(device, request.unique, 0, body, sizeof body);
    } else if (request.opcode == FUSE_GETATTR) {
      fuse_attr_out body{};
      body.attr_valid = 3600;
      body.attr.ino = FUSE_ROOT_ID;
      body.attr.mode = S_IFDIR | 0755;
      body.attr.nlink = 2;
      answer(device, request.unique, 0, body, sizeof body);
    } else if (request.opcode == FUSE_ACCESS) {
      answer(device, request.unique, -ENOSYS, 0, 0);
    } else if (request.opcode == FUSE_LOOKUP) {
      std::puts("look-up");
      std::fflush(stdout);
    }
  }
}

void keepBusy(const char* folder) {
  ::prctl(PR_SET_PDEATHSIG, 9);
  if (::chroot(folder) != 0) return std::perror("chroot");
  ::prctl(PR_SET_NAME, "stuckroot");
  for (volatile unsigned long work = 0;;) {
    work = work + 1;
    if (work % 10'000'000 == 0) ::usleep(10'000);
  }
}

}  // namespace

int main(int count, char** arguments) {
  const int device = count == 2 ? mountOn(arguments[1]) : -1;
  if (device < 0) {
    std::perror("stuck_root");
    return 1;
  }
  if (::fork() == 0) {
    keepBusy(arguments[1]);
    return 1;
  }
  std::thread([] {
    while (::getchar() != EOF) continue;
    ::_exit(0);
  }).detach();
  serve(device);
}
