#include "platform/linux/processes/process_files.h"

#include <algorithm>
#include <charconv>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include "platform/linux/processes/process_text.h"

namespace tarvel {

bool showsOwnProcesses(const std::string& root) {
  std::array<char, 16> text{};
  const auto length = ::readlink((root + "/self").c_str(), text.data(), text.size());
  return length > 0 && parsePid({text.data(), static_cast<std::size_t>(length)}) == ::getpid();
}

ProcessFiles::ProcessFiles(const std::string& root)
    : root_(::open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {}

void ProcessFiles::list(std::vector<std::int32_t>& pids) {
  pids.clear();
  if (::lseek(root_.get(), 0, SEEK_SET) != 0) return;
  for (;;) {
    const ssize_t size = ::getdents64(root_.get(), buffer_.data(), buffer_.size());
    if (size <= 0) break;
    for (ssize_t at = 0; at < size;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(buffer_.data() + at);
      const auto pid = parsePid(entry->d_name);
      if (pid) pids.push_back(*pid);
      at += entry->d_reclen;
    }
  }
  // The kernel lists them in order.
  if (!std::ranges::is_sorted(pids)) std::ranges::sort(pids);
}

std::string_view ProcessFiles::read(std::int32_t pid, std::string_view file) {
  return text(open(pid, file));
}

std::string_view ProcessFiles::read(const char* file) { return text(openAt(file)); }

std::string_view ProcessFiles::reread(FileDescriptor& kept, std::int32_t pid,
                                      std::string_view file) {
  if (!kept) kept = open(pid, file);
  return text(kept);
}

FileDescriptor ProcessFiles::open(std::int32_t pid, std::string_view file) const {
  constexpr std::size_t kDigits = 10;
  std::array<char, 32> path{};  // on the stack: this is the innermost loop of a sweep
  char* const end = std::to_chars(path.data(), path.data() + kDigits, pid).ptr;
  *end = '/';
  file.copy(end + 1, path.size() - kDigits - 2);
  return openAt(path.data());
}

std::string_view ProcessFiles::text(const FileDescriptor& file) {
  if (!file) return {};
  const ssize_t size = ::pread(file.get(), buffer_.data(), buffer_.size(), 0);
  return size <= 0 ? std::string_view()
                   : std::string_view(buffer_.data(), static_cast<std::size_t>(size));
}

FileDescriptor ProcessFiles::openAt(const char* path) const {
  return FileDescriptor(::openat(root_.get(), path, O_RDONLY | O_CLOEXEC));
}

}  // namespace tarvel
