// The host of an opening, in the same process: its end of the channel, and what it has heard.
#pragma once

#include "HostChannel.h"
#include "VolumeLibrary.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace vx {

struct HostPeer {
    HostPeer(const std::string &volume, const char *kind, const char *secret)
    {
        EXPECT_TRUE(channel.Prepare({volume.c_str(), kind, secret})) << channel.Error();
    }

    // As the explorer calls the library. Once.
    int32_t Open(IVolume **volume)
    {
        const std::string number = InheritedNumber();
        return open_bitlocker_device("not used", kChannelUnlockKind, number.c_str(), volume);
    }

    // A descriptor as a child finds it: not close-on-exec. The library owns it.
    std::string InheritedNumber()
    {
        descriptor = dup(channel.ChildDescriptor());
        channel.CloseChildDescriptor();
        return std::to_string(descriptor);
    }

    void TakeReports()
    {
        while (auto report = channel.Read()) {
            if (auto *answer = std::get_if<ChannelOpened>(&*report))
                opened = std::move(*answer);
            else if (auto *damage = std::get_if<ChannelDamage>(&*report))
                damages.push_back(std::move(*damage));
            else if (auto *loss = std::get_if<ChannelLoss>(&*report))
                lost += loss->count;
            else if (std::holds_alternative<ChannelProgress>(*report))
                ++progress;
        }
        EXPECT_EQ(channel.Error(), "");
    }

    HostChannel channel;
    int descriptor = -1;
    ChannelOpened opened{-1, "nothing was heard"};
    std::vector<ChannelDamage> damages;
    uint64_t lost = 0;
    int progress = 0;
};

}  // namespace vx
