#pragma once

#include <chrono>
#include <string>

#include "platform/linux/desktop/icon_theme.h"
#include "platform/property_list.h"

namespace tarvel {

// Has the program draw the icon file, as TIFF data. The program is a child that gets the file open,
// not its path, and has a few seconds: empty when it fails, takes longer or answers too much, and
// for what is no regular file of at most 4 MB.
Data drawIcon(const std::string& program, const IconFile& icon,
              std::chrono::milliseconds limit = std::chrono::seconds(3));

// The picture that stands for an application without an icon, drawn by the program itself.
Data drawGenericIcon(const std::string& program);

}  // namespace tarvel
