#include "viewer/machine/kept_file.h"

#include <algorithm>
#include <charconv>

#include <fcntl.h>
#include <unistd.h>

namespace tarvel::viewer {
namespace {

constexpr std::size_t kFirstSize = 4096;
constexpr std::size_t kLargest = std::size_t{1} << 20;  // /proc/stat of the largest machines

template <typename Number>
Number leadingNumber(std::string_view text) {
  Number number{};
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

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

std::string_view takeWord(std::string_view& text) {
  constexpr std::string_view kBlanks = " \t";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const auto word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return word;
}

std::string_view takeLine(std::string_view& text) {
  const auto line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  return line;
}

std::uint64_t wholeNumber(std::string_view text) { return leadingNumber<std::uint64_t>(text); }
double decimalNumber(std::string_view text) { return leadingNumber<double>(text); }

}  // namespace tarvel::viewer
