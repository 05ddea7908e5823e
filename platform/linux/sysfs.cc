#include "platform/linux/sysfs.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <memory>
#include <system_error>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include "platform/linux/process_rights.h"

namespace tarvel {
namespace {

constexpr std::size_t kPage = 4096;

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

struct Free {
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

std::optional<std::string> readAttributeBytes(const std::string& path) {
  AttributeFile file(path);
  std::array<char, kPage> buffer;
  const auto bytes = file.read(buffer);
  if (!bytes) return std::nullopt;
  return std::string(*bytes);
}

std::string readAttribute(const std::string& path) {
  std::string text = readAttributeBytes(path).value_or("");
  if (text.ends_with('\n')) text.pop_back();
  return text;
}

std::vector<std::string> folderNames(const std::string& path) {
  std::vector<std::string> names;
  const std::unique_ptr<DIR, CloseFolder> folder(::opendir(path.c_str()));
  if (!folder) return names;
  while (const dirent* entry = ::readdir(folder.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  std::ranges::sort(names);
  return names;
}

std::string resolvedPath(const std::string& path) {
  const std::unique_ptr<char, Free> resolved(realpath(path.c_str(), nullptr));
  return resolved ? std::string(resolved.get()) : std::string();
}

std::optional<std::int64_t> leadingInteger(std::string_view text) {
  std::int64_t number = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), number).ec != std::errc{}) {
    return std::nullopt;
  }
  return number;
}

std::optional<std::string_view> AttributeFile::read(std::span<char> buffer) {
  if (!file_) {
    const RaisedRights rights;
    file_.reset(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
  }
  if (!file_) return fail();
  const ssize_t length = ::pread(file_.get(), buffer.data(), buffer.size(), 0);
  if (length < 0) return fail();
  gone_ = false;
  return std::string_view(buffer.data(), static_cast<std::size_t>(length));
}

std::optional<std::int64_t> AttributeFile::readInteger() {
  std::array<char, 32> buffer;
  const auto text = read(buffer);
  return text ? leadingInteger(*text) : std::nullopt;
}

std::nullopt_t AttributeFile::fail() {
  gone_ = errno == ENODEV || errno == ENOENT;
  file_.reset();
  return std::nullopt;
}

}  // namespace tarvel
