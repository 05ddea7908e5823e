#include "platform/host/files/files.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/container/group_container.h"
#include "platform/host/files/file_descriptor.h"

namespace tarvel {
namespace {

bool writeWhole(int descriptor, const Data& data) {
  std::size_t done = 0;
  while (done < data.size()) {
    const ssize_t count = ::write(descriptor, data.data() + done, data.size() - done);
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) done += static_cast<std::size_t>(count);
  }
  return true;
}

// A path that ends in "/" names what a link leads to; without it, the link itself.
std::string withoutTrailingSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

class HostFileManager : public FileManager {
 public:
  std::optional<std::string> containerURLForSecurityApplicationGroupIdentifier(
      std::string_view group) override {
    return groupContainer(group);
  }

  bool fileExistsAtPath(const std::string& path) override {
    return ::access(path.c_str(), F_OK) == 0;
  }

  void createDirectoryAtPath(const std::string& path) override { ::mkdir(path.c_str(), 0700); }

  void removeItemAtPath(const std::string& path) override {
    std::error_code ignored;
    std::filesystem::remove_all(withoutTrailingSlashes(path), ignored);
  }

  void writeToFile(const Data& data, const std::string& path) override {
    std::string temporary = path.substr(0, path.rfind('/') + 1) + ".tarvel-XXXXXX";
    FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) return;
    const bool written = writeWhole(file.get(), data) && ::close(file.release()) == 0;
    if (!written || std::rename(temporary.c_str(), path.c_str()) != 0) {
      ::unlink(temporary.c_str());
    }
  }
};

}  // namespace

std::unique_ptr<FileManager> makeFileManager() { return std::make_unique<HostFileManager>(); }

}  // namespace tarvel
