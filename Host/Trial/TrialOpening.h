// Loads the volume library, opens a volume with it and reports how that went, and the master key.
//
// Ownership: borrows the channel. Threads: the main thread.
#pragma once

#include "ChildChannel.h"

#include <string>

class IVolume;

namespace vx {

class TrialOpening {
public:
    // library: its path.
    TrialOpening(ChildChannel &channel, const std::string &library)
        : _channel(channel), _path(library)
    {
    }

    // A signal that interrupts it ends the process.
    void Run(const ChannelOpening &texts);

private:
    ChannelOpened Open(void *library, const ChannelOpening &texts);
    void ReportKey(void *library);
    void SetOptions(void *library);

    ChildChannel &_channel;
    const std::string _path;
    IVolume *_volume = nullptr;
};

}  // namespace vx
