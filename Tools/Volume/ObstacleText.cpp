#include "ObstacleText.h"

#include "NumberText.h"

#include <algorithm>
#include <iterator>

namespace vx {
namespace {

// Ranges that can be read at a glance.
constexpr size_t kFewRanges = 4;

// Follows "are".
const char *CountedWords(VolumeObstacle obstacle)
{
    switch (obstacle) {
    case VolumeObstacle::kPacked:
        return "packed by Windows in an unknown form or into a WIM image";
    case VolumeObstacle::kOnlyInCloud:
        return "only in the cloud";
    case VolumeObstacle::kDeduplicated:
        return "deduplicated by Windows Server and cannot be read";
    case VolumeObstacle::kEncryptedFile:
        return "encrypted by Windows on their own (EFS) and cannot be read";
    case VolumeObstacle::kUnknownReparsePoint:
        return "reparse points of a kind that is not known, without data of their own here";
    default:
        return nullptr;
    }
}

std::string RangeText(const ByteRange &range)
{
    if (range.length == 1)
        return std::to_string(range.offset);
    return std::to_string(range.offset) + " to " + std::to_string(range.offset + range.length - 1);
}

}  // namespace

bool IsCounted(VolumeObstacle obstacle)
{
    return CountedWords(obstacle) != nullptr;
}

std::string CountedText(VolumeObstacle obstacle, bool areFolders, int64_t count)
{
    std::string words = CountedWords(obstacle);
    const size_t theirs = words.find("their own");
    if (count == 1 && theirs != std::string::npos)
        words.replace(theirs, 5, "its");
    if (count == 1 && words.rfind("reparse points", 0) == 0)
        words.replace(0, 14, "a reparse point");
    const std::string counted =
        areFolders ? CountText(count, "folder", "folders") : CountText(count, "file", "files");
    return counted + (count == 1 ? " is " : " are ") + words;
}

const char *ObstacleName(VolumeObstacle obstacle)
{
    constexpr const char *kNames[] = {
        nullptr,
        "link",
        "packed",
        "only-in-cloud",
        "deduplicated",
        "encrypted",
        "unknown-reparse-point",
        "damaged",
        "unreadable",
        "device-gone",
        "same-name",
        "no-permission",
        "not-there",
        "out-of-memory",
    };
    const auto number = static_cast<size_t>(obstacle);
    return number < std::size(kNames) ? kNames[number] : "other";
}

std::string UnreadText(const std::vector<ByteRange> &unread, bool namesAll)
{
    const uint64_t bytes = BytesIn(unread);
    std::string text = bytes == 1 ? "byte " : "bytes ";
    const size_t shown = namesAll ? unread.size() : std::min(unread.size(), kFewRanges);
    for (size_t i = 0; i < shown; ++i)
        text += (i == 0 ? "" : ", ") + RangeText(unread[i]);
    if (shown < unread.size())
        text +=
            " and " +
            CountText(static_cast<int64_t>(unread.size() - shown), "more range", "more ranges") +
            " (" + CountText(static_cast<int64_t>(bytes), "byte", "bytes") + " in all)";
    return text + " could not be read and " + (bytes == 1 ? "is" : "are") + " zero";
}

std::string ListingText(const VolumeListingReport &listing)
{
    if (listing.isWhole)
        return "this folder is damaged: " +
               CountText(static_cast<int64_t>(listing.recoveredEntries), "entry was",
                         "entries were") +
               " found by other records of the disk";
    if (listing.missingEntries == 0)
        return "this folder is damaged: entries may be missing";
    return "this folder is incomplete: at least " +
           CountText(static_cast<int64_t>(listing.missingEntries), "entry is", "entries are") +
           " missing";
}

}  // namespace vx
