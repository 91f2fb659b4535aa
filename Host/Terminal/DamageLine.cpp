#include "DamageLine.h"

#include "NumberText.h"
#include "ObstacleReason.h"
#include "TerminalText.h"

#include <algorithm>

namespace vx {
namespace {

std::string RangesText(const ChannelDamage &damage)
{
    const size_t named = std::min(damage.ranges.size(), kMostRangesOfLine);
    std::string text;
    for (size_t i = 0; i < named; ++i) {
        const ByteRange &range = damage.ranges[i];
        text += (i == 0 ? "" : ", ") + std::to_string(range.offset);
        if (range.length > 1)
            text += " to " + std::to_string(range.offset + (range.length - 1));
    }
    const auto others = static_cast<int64_t>(damage.ranges.size() - named);
    const int64_t more = others + std::min(static_cast<int64_t>(damage.more), INT64_MAX - others);
    return more == 0 ? text : text + " and " + CountText(more, "more range", "more ranges");
}

// The ranges lie apart and end below 2^63.
std::string FileText(const ChannelDamage &damage)
{
    if (damage.ranges.empty())
        return "not all of it could be read";
    const auto bytes = static_cast<int64_t>(BytesIn(damage.ranges));
    return (damage.more == 0 ? "" : "at least ") + CountText(bytes, "byte", "bytes") +
           " could not be read and were given as zeros (" + RangesText(damage) + ")";
}

std::string FolderText(const ChannelDamage &damage)
{
    if (damage.more == 0)
        return "entries of the folder are missing";
    const auto missing = static_cast<int64_t>(damage.more);
    return "at least " + CountText(missing, "entry", "entries") +
           (missing == 1 ? " of the folder is missing" : " of the folder are missing");
}

// Empty if the reason is not known, or says no more than the line does.
std::string ReasonText(const ChannelDamage &damage)
{
    const std::string reason = ObstacleReason(static_cast<VolumeObstacle>(damage.obstacle));
    return reason.empty() ? "" : ": " + reason;
}

}  // namespace

std::string DamageLine(const ChannelDamage &damage)
{
    const std::string path = TerminalText(damage.path) + ": ";
    const std::string reason = ReasonText(damage);
    switch (damage.kind) {
    case ChannelDamageKind::kFileData:
        return path + FileText(damage) + reason;
    case ChannelDamageKind::kFileClosed:
        return path + "the file could not be opened" + reason;
    case ChannelDamageKind::kFolder:
        return path + FolderText(damage) + reason;
    case ChannelDamageKind::kDiskGone:
        return "the disk or image went away";
    }
    return path + "something could not be read" + reason;
}

}  // namespace vx
