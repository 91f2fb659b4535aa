// Files that another program drags onto a window. The library announces a version of the protocol
// that no file manager speaks any more, and its pasteboard never gets what another program drags:
// nothing can be dropped.
#pragma once

namespace vx {

// From now on a window whose content view is registered for NSFilenamesPboardType takes files,
// anywhere in it; the content view gets the messages of a dragging destination. The pasteboard has
// NSString paths, and NSData for a path that is not UTF-8. Main thread, once.
void installFileDrops();

}  // namespace vx
