#include "programs/update/bundle.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <fcntl.h>
#include <pugixml.hpp>
#include <unistd.h>

#include "platform/host/processes/child_process.h"
#include "product/identifiers.h"
#include "programs/update/update_error.h"

namespace tarvel::update {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBundleName = "TarvelHelper.app";

std::string valueOf(const pugi::xml_node& dictionary, const char* name) {
  for (const auto& key : dictionary.children("key")) {
    if (key.text().as_string() == std::string(name)) {
      return key.next_sibling("string").text().as_string();
    }
  }
  return {};
}

// A folder beside the bundle, removed with all that is in it at the end.
class StagingFolder {
 public:
  explicit StagingFolder(const fs::path& parent) {
    std::string name = (parent / ".tarvel-update-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
      throw UpdateError(parent.string() + ": cannot be written");
    }
    folder_ = name;
  }
  ~StagingFolder() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  StagingFolder(const StagingFolder&) = delete;
  StagingFolder& operator=(const StagingFolder&) = delete;

  const fs::path& path() const { return folder_; }

 private:
  fs::path folder_;
};

void unpack(const std::string& archive, const fs::path& folder) {
  const fs::path file = folder / "archive.tar.gz";
  std::ofstream stream(file, std::ios::binary);
  stream.write(archive.data(), static_cast<std::streamsize>(archive.size()));
  stream.close();
  if (!stream) throw UpdateError("no room to unpack the update");
  const auto child = spawnProgram("tar", {"--extract", "--gzip", "--no-same-owner", "--directory",
                                          folder.string(), "--file", file.string()});
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
  const StagingFolder staging(fs::path(path).parent_path());
  unpack(archive, staging.path());
  const fs::path fresh = staging.path() / kBundleName;
  if (!fs::is_directory(fs::symlink_status(fresh))) throw UpdateError("the update holds no bundle");
  if (readBundle(fresh).version != version) {
    throw UpdateError("the update is of another version than the feed says");
  }
  checkProgram(fresh / "TarvelHelper");
  if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) != 0) {
    throw UpdateError(path + ": cannot be replaced");
  }
}

}  // namespace tarvel::update
