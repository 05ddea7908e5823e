#include "programs/update/bundle.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <pugixml.hpp>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/host/files/file_descriptor.h"
#include "platform/host/processes/child_process.h"
#include "product/identifiers.h"
#include "programs/update/update_error.h"

namespace tarvel::update {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBundleName = "TarvelHelper.app";
constexpr std::string_view kStagingPrefix = ".tarvel-update-";
constexpr mode_t kModes = 0755;  // what of an archive's modes is kept

std::string valueOf(const pugi::xml_node& dictionary, const char* name) {
  for (const auto& key : dictionary.children("key")) {
    if (key.text().as_string() == std::string(name)) {
      return key.next_sibling("string").text().as_string();
    }
  }
  return {};
}

FileDescriptor lockedFolder(const fs::path& path) {
  FileDescriptor folder(
      ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (folder && ::flock(folder.get(), LOCK_EX | LOCK_NB) != 0) folder.reset();
  return folder;
}

// Removes what updaters that were killed have left behind; those at work hold theirs locked.
void sweep(const fs::path& parent) {
  std::error_code ignored;
  std::vector<fs::path> left;
  for (const auto& entry : fs::directory_iterator(parent, ignored)) {
    if (entry.path().filename().string().starts_with(kStagingPrefix)) left.push_back(entry.path());
  }
  for (const auto& folder : left) {
    if (lockedFolder(folder)) fs::remove_all(folder, ignored);
  }
}

// A folder beside the bundle, removed with all that is in it at the end.
class StagingFolder {
 public:
  explicit StagingFolder(const fs::path& parent) {
    std::string name = (parent / kStagingPrefix).string() + "XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) {
      throw UpdateError(parent.string() + ": cannot be written");
    }
    folder_ = name;
    lock_ = lockedFolder(folder_);
  }
  ~StagingFolder() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  StagingFolder(const StagingFolder&) = delete;
  StagingFolder& operator=(const StagingFolder&) = delete;

  const fs::path& path() const { return folder_; }

  // Waits until all that was written is on the disk.
  void flush() const {
    if (!lock_ || ::syncfs(lock_.get()) != 0) throw UpdateError("the update cannot be kept");
  }

 private:
  fs::path folder_;
  FileDescriptor lock_;
};

// Nothing but folders and files, with no mode bit that gives rights to others.
void tidy(const fs::path& folder) {
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const auto status = entry.symlink_status();
    if (!fs::is_regular_file(status) && !fs::is_directory(status)) {
      throw UpdateError("the update holds something else than files");
    }
    const auto mode = static_cast<mode_t>(status.permissions()) & kModes;
    ::chmod(entry.path().c_str(), fs::is_directory(status) ? kModes : mode);
  }
}

void unpack(const std::string& archive, const fs::path& folder) {
  const fs::path file = folder / "archive.tar.gz";
  std::ofstream stream(file, std::ios::binary);
  stream.write(archive.data(), static_cast<std::streamsize>(archive.size()));
  stream.close();
  if (!stream) throw UpdateError("no room to unpack the update");
  const auto child =
      spawnProgram("tar", {"--extract", "--gzip", "--no-same-owner", "--no-same-permissions",
                           "--directory", folder.string(), "--file", file.string()});
  if (!child || waitForProgram(*child) != 0) throw UpdateError("the update cannot be unpacked");
}

void checkProgram(const fs::path& program) {
  if (::access(program.c_str(), X_OK) != 0 || !fs::is_regular_file(fs::symlink_status(program))) {
    throw UpdateError("the update holds no helper");
  }
}

}  // namespace

BundleInfo readBundle(const std::string& path) {
  pugi::xml_document document;
  const auto file = fs::path(path) / "Info.plist";
  if (!document.load_file(file.c_str())) throw UpdateError(path + ": no bundle");
  const auto dictionary = document.child("plist").child("dict");
  if (valueOf(dictionary, "CFBundleIdentifier") != kHelperIdentifier) {
    throw UpdateError(path + ": no bundle of " + std::string(kHelperIdentifier));
  }
  return {valueOf(dictionary, "CFBundleVersion"), valueOf(dictionary, "SUFeedURL"),
          valueOf(dictionary, "SUPublicEDKey")};
}

bool isPackaged(const std::string& path) {
  for (const char* owned :
       {"/usr/lib/", "/usr/libexec/", "/usr/share/", "/nix/", "/gnu/", "/snap/", "/app/"}) {
    if (path.starts_with(owned)) return true;
  }
  return false;
}

void replaceBundle(const std::string& path, const std::string& archive,
                   const std::string& version) {
  sweep(fs::path(path).parent_path());
  const StagingFolder staging(fs::path(path).parent_path());
  unpack(archive, staging.path());
  const fs::path fresh = staging.path() / kBundleName;
  if (!fs::is_directory(fs::symlink_status(fresh))) throw UpdateError("the update holds no bundle");
  tidy(fresh);
  if (readBundle(fresh).version != version) {
    throw UpdateError("the update is of another version than the feed says");
  }
  checkProgram(fresh / "TarvelHelper");
  staging.flush();
  if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) != 0) {
    throw UpdateError(path + ": cannot be replaced");
  }
  staging.flush();
}

}  // namespace tarvel::update
