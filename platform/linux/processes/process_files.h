#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/files/file_descriptor.h"

// The files of /proc, read with as few system calls as there can be. For one thread at a time.

namespace tarvel {

// Whether the folder shows the processes of our own namespace of ids, as system calls know them. A
// container may be shown the machine's /proc.
bool showsOwnProcesses(const std::string& root);

class ProcessFiles {
 public:
  explicit ProcessFiles(const std::string& root);

  // The ids of the processes that there are, ascending.
  void list(std::vector<std::int32_t>& pids);

  // The file of a process: three system calls. The text is good until the next call; empty when the
  // process is gone or does not show the file.
  std::string_view read(std::int32_t pid, std::string_view file);

  // A file of no process, such as "swaps".
  std::string_view read(const char* file);

  // The file through a descriptor that is kept open, and opened where it is not yet: one system
  // call, but 4 KiB of kernel memory for as long as it is open. It belongs to its process: when
  // that is gone the text is empty, even when another process has the id.
  std::string_view reread(FileDescriptor& kept, std::int32_t pid, std::string_view file);

 private:
  FileDescriptor open(std::int32_t pid, std::string_view file) const;
  FileDescriptor openAt(const char* path) const;
  std::string_view text(const FileDescriptor& file);

  FileDescriptor root_;
  alignas(8) std::array<char, 32768> buffer_;  // what the kernel lists at once
};

}  // namespace tarvel
