// What differs between systems below the channel. Threads: any.
#pragma once

#include "UniqueFd.h"

namespace vx {

// Of send() and sendmsg(), on a silenced socket: no SIGPIPE if the peer is gone.
extern const int kChannelSendFlags;

// Two connected stream sockets, silenced, that no other program inherits, with room for an opening.
// False: errno says why.
bool MakeChannelPair(UniqueFd *one, UniqueFd *other);
// For a socket of another maker. Its peer should be open still.
void SilenceChannelEnd(int descriptor);

}  // namespace vx
