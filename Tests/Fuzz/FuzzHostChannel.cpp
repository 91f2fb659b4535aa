// Fuzz target: any bytes from a child, in pieces of any size. What the host reads of them is in
// order and within the limits, and nothing comes after the end.
#include "HostChannel.h"
#include "Require.h"

#include <algorithm>
#include <sys/socket.h>

namespace {

void CheckText(const std::string &text, size_t most)
{
    Require(text.size() <= most, "a text is within its limit");
    Require(text.find('\0') == text.npos, "a text has no zero");
}

void CheckRanges(const vx::ByteRanges &ranges)
{
    uint64_t end = 0;
    for (size_t i = 0; i < ranges.size(); ++i) {
        Require(ranges[i].length > 0, "no range is empty");
        Require(i == 0 || ranges[i].offset > end, "ranges ascend and do not touch");
        Require(ranges[i].length <= UINT64_MAX - ranges[i].offset, "a range ends");
        end = ranges[i].offset + ranges[i].length;
    }
}

struct Checker {
    bool hasOpened = false;
    bool hasKey = false;
    bool hasFarewell = false;

    void operator()(const vx::ChannelProgress &) const
    {
        Require(!hasOpened, "progress precedes the end of the opening");
    }
    void operator()(const vx::ChannelOpened &opened)
    {
        Require(!hasOpened, "an opening ends once");
        hasOpened = true;
        CheckText(opened.detail, vx::kMostChannelDetail);
    }
    void operator()(const vx::ChannelDamage &damage) const
    {
        Require(hasOpened, "damage follows the opening");
        CheckText(damage.path, vx::kMostChannelPath);
        CheckRanges(damage.ranges);
    }
    void operator()(const vx::ChannelLoss &) const {}
    void operator()(const vx::ChannelMasterKey &key)
    {
        Require(hasOpened && !hasKey, "one key, after the opening");
        hasKey = true;
        Require(key.key.Size() > 0 && key.key.Size() <= vx::kMostChannelKey, "a key has bytes");
    }
    void operator()(const vx::ChannelFarewell &)
    {
        Require(hasOpened && !hasFarewell, "one farewell, after the opening");
        hasFarewell = true;
    }
};

}  // namespace

// The first byte: how many are sent at a time.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    vx::HostChannel host;
    Require(host.Prepare({}), "the channel can be made");
    Checker checker;
    const size_t piece = data[0] == 0 ? size : data[0];
    for (size_t at = 1; at < size; at += piece) {
        const size_t count = std::min(piece, size - at);
        (void)send(host.ChildDescriptor(), data + at, count, MSG_DONTWAIT | MSG_NOSIGNAL);
        while (const auto report = host.Read()) {
            Require(!host.HasEnded(), "no report comes after the end");
            std::visit(checker, *report);
        }
    }
    host.CloseChildDescriptor();
    while (host.Read() || !host.HasEnded())
        continue;
    Require(host.Descriptor() == -1, "an ended channel is closed");
    return 0;
}
