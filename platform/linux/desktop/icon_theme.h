#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Icons by the rules that freedesktop.org publishes (Icon Theme, version 0.13). Reads the folders
// anew at every call: an icon is looked for once in the life of a helper.

namespace tarvel {

struct IconFolders {
  std::vector<std::string> base;     // folders of themes, the most important first
  std::vector<std::string> pixmaps;  // folders of icons without a theme
  std::string theme;                 // the user's theme
};

// ~/.icons, the icons of each data folder, the pixmaps, and the theme that the user's settings name
// (GTK's and KDE's files; hicolor without any).
IconFolders userIconFolders(const std::vector<std::string>& dataFolders);

struct IconFile {
  std::string path;
  double points = 48;         // nominal width and height
  int scale = 1;              // pixels a point that the drawing is made for
  std::uint32_t pixels = 96;  // a vector is drawn at this size, and so is a larger raster
};

// The files of the icon: those in the first theme of the chain that has any, else a pixmap, or the
// file that an absolute path names. In the order of representations: by distance of their width
// from 48 points, at the same distance the vector, then single, then double resolution. Empty for a
// name that no theme has and for one that leads out of them.
std::vector<IconFile> iconFiles(const std::string& name, const IconFolders& folders);

}  // namespace tarvel
