#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "platform/host/files/file_descriptor.h"

// A small file of /proc or /sys that is read again and again.

namespace tarvel::viewer {

class KeptFile {
 public:
  explicit KeptFile(std::string path) : path_(std::move(path)) {}

  // The file's text as it is now, valid until the next read; empty where it cannot be read. The
  // descriptor stays open, which saves most of the cost of a reading; one that fails is opened anew
  // at the next call.
  std::string_view read();

 private:
  std::string path_;
  FileDescriptor file_;
  std::string text_;
};

}  // namespace tarvel::viewer
