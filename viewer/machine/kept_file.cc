#include "viewer/machine/kept_file.h"

#include <fcntl.h>
#include <unistd.h>

namespace tarvel::viewer {
namespace {

constexpr std::size_t kFirstSize = 4096;
constexpr std::size_t kLargest = std::size_t{1} << 20;  // /proc/stat of the largest machines

}  // namespace

std::string_view KeptFile::read() {
  if (!file_) file_.reset(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file_) return {};
  if (text_.empty()) text_.resize(kFirstSize);
  std::size_t size = 0;
  while (true) {
    const auto count =
        ::pread(file_.get(), text_.data() + size, text_.size() - size, static_cast<off_t>(size));
    if (count < 0) {
      file_.reset();
      return {};
    }
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
    if (size < text_.size()) continue;
    if (size >= kLargest) break;
    text_.resize(size * 2);
  }
  return std::string_view(text_).substr(0, size);
}

}  // namespace tarvel::viewer
