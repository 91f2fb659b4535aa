// Opens what a host says over its channel (ChannelMessages.h), and reports to it how the opening
// goes and, as long as the volume is used, what it does not give (ReportingVolume.h).
//
// The secret lies in the channel's protected memory and is overwritten before this returns.
// Threads: any; each channel is taken once.
#pragma once

#include "OpenVolume.h"

namespace vx {

// request.unlockKind is not looked at. request.secret: the number of the inherited descriptor,
// which is close-on-exec from then on. Waits ten seconds at most for the host's texts. Errors: any
// Status; kMalformedSecret if there is no such descriptor, or no opening comes over it. May throw
// std::bad_alloc.
Result<OpenedVolume> OpenForHost(const OpenRequest &request);

}  // namespace vx
