#pragma once

#include <optional>
#include <string>

namespace tarvel {

// Why the path must not be removed as the folder of the bundle with this identifier; none when it
// may be: an absolute path to a folder, no component of it a link, with an Info.plist that names
// the identifier, and no mount at or below it.
std::optional<std::string> whyNotBundleFolder(const std::string& path,
                                              const std::string& identifier);

// Whether the folder and all above it belong to root, and others may write to none of them but to
// one like /tmp, whose entries are their owners' alone: nobody but root can put something else in
// the folder's place. In a user namespace that does not know root, whoever it does not know counts
// as root.
bool belongsToRoot(const std::string& path);

// The text that follows the key in an XML property list, "<key>NAME</key> <string>TEXT</string>";
// none where it is not there.
std::optional<std::string> infoValue(const std::string& infoPlistPath, const std::string& key);

}  // namespace tarvel
