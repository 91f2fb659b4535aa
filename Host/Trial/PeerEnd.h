// Waits for the end of a socket's peer, whatever arrives before it.
// Threads: any. Errors: -1, and errno says why.
#pragma once

namespace vx {

// A descriptor to wait with; it stays as long as the process, also when the socket is closed.
int WatchPeer(int socket);

// Returns when the peer is closed. watch: of WatchPeer.
void AwaitPeerEnd(int watch);

}  // namespace vx
