#include "platform/host/files/small_file.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"

namespace tarvel {

std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit) {
  constexpr std::size_t kStep = 4096;
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file) return std::nullopt;
  std::string text;
  for (;;) {
    const std::size_t used = text.size();
    text.resize(used + kStep);
    const ssize_t count = ::read(file.get(), text.data() + used, kStep);
    text.resize(used + static_cast<std::size_t>(count > 0 ? count : 0));
    if (count == 0) return text;
    if ((count < 0 && errno != EINTR) || text.size() > limit) return std::nullopt;
  }
}

}  // namespace tarvel
