// Opening a folder on the desktop: under GNUstep -[NSWorkspace openURL:] hands a folder to a
// workspace application, which hardly any desktop has. Once installed, a file URL of a folder goes
// to the desktop's own opener, xdg-open; if the user has named a workspace application
// (GSWorkspaceApplication), that one is used as before, and the library handles every other URL.
// Neither call waits for the opener. Main thread.
#pragma once

#include <string>

namespace vx {

void installFolderOpening();

// Starts `program` with one argument, without a shell, its input and output on /dev/null; it is
// reaped when it ends. False when it could not be started.
bool startDetached(const std::string &program, const std::string &argument);

}  // namespace vx
