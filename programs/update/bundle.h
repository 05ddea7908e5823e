#pragma once

#include <string>

namespace tarvel::update {

// What a bundle's Info.plist says. Throws UpdateError for a folder that is no bundle of ours.
struct BundleInfo {
  std::string version;
  std::string feedURL;    // empty: no updates
  std::string publicKey;  // base64
};
BundleInfo readBundle(const std::string& path);

// Whether a package manager owns the bundle: it lies where only those write.
bool isPackaged(const std::string& path);

// Unpacks the archive (tar, gzip) beside the bundle and puts the bundle of this version that is in
// it in the place of the old one, in one step once all of it is on the disk. Its files keep no mode
// bit beyond 0755. Throws UpdateError and leaves everything as it was when it holds anything else.
// What an updater that was killed has left beside the bundle is removed.
void replaceBundle(const std::string& path, const std::string& archive, const std::string& version);

}  // namespace tarvel::update
