#pragma once

#include <memory>

#include "platform/authorization.h"

namespace tarvel {

class Bundle;
class SystemLog;

// Administrator rights on Linux: a root helper has them; for others pkexec(1) asks the user. Where
// the process may gain no privileges (a hardened unit), pkexec runs as a transient unit of the
// user's service manager.
//
// Only one deed is allowed: "/bin/rm" "-rf" on the folder of the bundle. It is refused, with a line
// in the log, unless that is the absolute path of a folder without links, with an Info.plist of the
// bundle in it and nothing mounted at or below it. What has been looked at is what is removed:
// rights of root are used only where the folder and all above it are root's own, so that nobody can
// put another one into its place while the user is being asked. A bundle in a folder of the user's
// own is removed with the user's rights, and nobody is asked.
//
// As root the call ends when the tool has started; else when it or pkexec does, 126 and 127 being
// pkexec's refusals and any other status of it a deed done.
std::unique_ptr<Authorization> makeLinuxAuthorization(Bundle& bundle, SystemLog& log);

}  // namespace tarvel
