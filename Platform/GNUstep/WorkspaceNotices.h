// Keeps the workspace's notifications within the program. The library sends them to all
// programs of a GNUstep desktop through a daemon; if none runs, it starts one, and the first window
// waits for it for a quarter of a second. Main thread, before the workspace is first asked
// for.
#pragma once

namespace vx {

void installWorkspaceNotices();

}  // namespace vx
