// Whether a volume library takes what it opens over a channel, or from the explorer's arguments
// alone. Decided by the names in its file, so that nothing of it runs in the host, and the answer
// is the same whether or not the volume could be tried.
//
// Threads: any.
#pragma once

#include <string>

namespace vx {

// library: its path. True too if it cannot be read: the present one is meant then.
bool KnowsChannel(const std::string &library);

}  // namespace vx
