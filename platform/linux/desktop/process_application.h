#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/linux/bounded_work.h"
#include "platform/linux/desktop/desktop_index.h"

namespace tarvel {

// Reads what sandboxes tell of themselves in the root folders of their processes. Such a root may
// lie on a file system that hangs, such as a mount whose server is dead. Any thread.
class SandboxLooks {
 public:
  SandboxLooks();

  // The name in the sandbox's description; none where there is none, and while that is not known.
  std::optional<std::string> name(const std::string& processFolder);

 private:
  // Whether there may be a sandbox to look into: not where the process sees the mounts that this
  // one sees, nor where its root is closed to us. Told by the kernel without a look at any file
  // system.
  bool mayBe(const std::string& processFolder) const;

  const std::string ownMounts_;
  BoundedLooks looks_;
};

// The application that a process belongs to, by what its files in /proc tell, best first: its
// systemd unit, the sandbox it is in, its program, how it was launched. Null for a process of
// somebody else and for one that is no application. The folder is "/proc".
const DesktopIndex::Application* processApplication(const std::string& procFolder, std::int32_t pid,
                                                    const DesktopIndex& index,
                                                    SandboxLooks& sandboxes);

}  // namespace tarvel
