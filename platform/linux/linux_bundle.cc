#include "platform/linux/linux_bundle.h"

#include <filesystem>
#include <system_error>

#include "product/identifiers.h"

namespace tarvel {
namespace {

class LinuxBundle : public Bundle {
 public:
  std::string bundleIdentifier() override { return std::string(kHelperIdentifier); }
  std::string bundlePath() override { return programFolder(); }
};

}  // namespace

std::string programFolder() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).parent_path().string();
}

std::unique_ptr<Bundle> makeLinuxBundle() { return std::make_unique<LinuxBundle>(); }

}  // namespace tarvel
