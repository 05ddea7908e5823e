#include "platform/host/files/atomic_file.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"

namespace tarvel {
namespace {

bool isReplaceable(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return errno == ENOENT;
  return S_ISREG(status.st_mode) || S_ISLNK(status.st_mode);
}

std::string temporaryBeside(const std::string& path) {
  std::uint64_t random = 0;
  if (::getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random)) return {};
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(random));
  return path.substr(0, path.rfind('/') + 1) + ".tarvel-" + digits.data();
}

bool writeWhole(int descriptor, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t count = ::write(descriptor, contents.data(), contents.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) contents.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace

bool replaceFile(const std::string& path, std::string_view contents, FileReaders readers) {
  const std::string temporary = temporaryBeside(path);
  if (temporary.empty() || !isReplaceable(path)) return false;
  constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  FileDescriptor file(::open(temporary.c_str(), kFlags, 0600));
  if (!file) return false;
  const bool opened = readers == FileReaders::owner || ::fchmod(file.get(), 0644) == 0;
  const bool written = opened && writeWhole(file.get(), contents) && ::close(file.release()) == 0;
  if (written && std::rename(temporary.c_str(), path.c_str()) == 0) return true;
  ::unlink(temporary.c_str());
  return false;
}

}  // namespace tarvel
