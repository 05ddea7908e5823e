#include "platform/linux/disks/ata_disks.h"

#include <string_view>
#include <utility>

#include "platform/linux/sysfs.h"

namespace tarvel {
namespace {

// VPD page 89h: a header, then the IDENTIFY DEVICE data and before it the command that gave them.
constexpr std::size_t kPageLength = 572;
constexpr std::size_t kCommandAt = 56;
constexpr std::size_t kIdentifyAt = 60;
constexpr char kIdentifyCommand = static_cast<char>(0xEC);
constexpr std::size_t kSmartSupportAt = 164;

bool pageSaysSmart(const AtaDisk& disk) {
  const std::string identify = cachedIdentifyData(disk);
  return identify.size() > kSmartSupportAt && (identify[kSmartSupportAt] & 1) != 0;
}

bool udevSaysSmart(const AtaDiskRoots& roots, const std::string& block) {
  const std::string path = roots.udevData + "/b" + readAttribute(block + "/dev");
  const std::string notes = "\n" + readAttributeBytes(path).value_or("");
  return notes.find("\nE:ID_ATA_FEATURE_SET_SMART=1\n") != notes.npos;
}

}  // namespace

std::vector<AtaDisk> listAtaDisks(const AtaDiskRoots& roots) {
  std::vector<AtaDisk> disks;
  const std::string folder = roots.sys + "/block";
  for (const auto& name : folderNames(folder)) {
    if (!name.starts_with("sd")) continue;  // the kernel's name of SCSI and ATA disks
    const std::string block = std::string(folder).append("/").append(name);
    if (readAttribute(block + "/device/type") != "0") continue;
    AtaDisk disk;
    disk.name = name;
    disk.folder = resolvedPath(block + "/device");
    disk.identity = disk.folder + "#" + readAttribute(block + "/diskseq");
    disk.smartCapable = udevSaysSmart(roots, block) || pageSaysSmart(disk);
    disk.ataBlockStorage = readAttribute(disk.folder + "/vendor").starts_with("ATA ");
    if (disk.smartCapable || disk.ataBlockStorage) disks.push_back(std::move(disk));
  }
  return disks;
}

std::string cachedIdentifyData(const AtaDisk& disk) {
  const std::string page = readAttributeBytes(disk.folder + "/vpd_pg89").value_or("");
  if (page.size() < kPageLength || page[kCommandAt] != kIdentifyCommand) return {};
  return page.substr(kIdentifyAt, kPageLength - kIdentifyAt);
}

std::string drivetempFile(const AtaDisk& disk) {
  const std::string folder = disk.folder + "/hwmon";
  for (const auto& name : folderNames(folder)) {
    const std::string chip = std::string(folder).append("/").append(name);
    if (readAttribute(chip + "/name") == "drivetemp") return chip + "/temp1_input";
  }
  return {};
}

std::string trafficCounts(const AtaDisk& disk, const AtaDiskRoots& roots) {
  return readAttribute(roots.sys + "/block/" + disk.name + "/stat");
}

bool isSuspended(const AtaDisk& disk) {
  return readAttribute(disk.folder + "/power/runtime_status").starts_with("suspend");
}

}  // namespace tarvel
