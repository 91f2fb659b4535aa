// A volume library that has something to report of nearly everything. The first text says which
// tree the volume has.
#include "StandInVolume.h"
#include "VolumeReport.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

using vx::StandInEntry;

constexpr uint32_t kFolder = 0x10;
constexpr uint32_t kReparsePoint = 0x400;
constexpr uint64_t kSeptember302020 = 132459588000000000;  // 17:00 UTC

StandInEntry Entry(const char16_t *folder, const char16_t *name, uint32_t attributes)
{
    StandInEntry entry;
    entry.folder = folder;
    entry.name = name;
    entry.attributes = attributes;
    return entry;
}

StandInEntry Tagged(const char16_t *name, uint32_t attributes, uint32_t tag)
{
    StandInEntry entry = Entry(u"", name, attributes | kReparsePoint);
    entry.reparseTag = tag;
    return entry;
}

std::vector<StandInEntry> TreeOfEveryKind()
{
    StandInEntry plain = Entry(u"", u"plain.txt", 0x21);
    plain.listedSize = plain.size = 5;
    plain.created = 1;
    plain.accessed = kSeptember302020 + 1234567;
    StandInEntry closed = Entry(u"", u"closed", kFolder);
    closed.opens = false;
    return {plain,
            Entry(u"", u"folder", kFolder | 0x2),
            Entry(u"/folder", u"inside", 0x80),
            closed,
            Tagged(u"junction", kFolder, 0xA0000003),
            Tagged(u"packed.exe", 0x20, 0x80000017),
            Tagged(u"cloud.doc", 0x400000, 0x9000601A),
            Tagged(u"strange", 0x20, 0x00001234),
            Entry(u"", u"bad\xd800", 0x20)};
}

std::vector<StandInEntry> TreeWithHoles()
{
    return {Entry(u"", u"few", kFolder), Entry(u"/few", u"a", 0x20), Entry(u"", u"found", kFolder),
            Entry(u"/found", u"b", 0x20), Entry(u"", u"some", kFolder)};
}

// More rows than a pipe holds, and then a folder that nobody gets past.
std::vector<StandInEntry> TreeOfManyRows()
{
    std::vector<StandInEntry> entries(5000, Entry(u"", u"a row of many", 0x20));
    entries.push_back(Entry(u"", u"more", kFolder));
    entries.back().listingStalls = true;
    return entries;
}

std::vector<StandInEntry> TreeWithStreams()
{
    return {Entry(u"", u"f.txt", 0x20), Entry(u"", u"torn", kFolder)};
}

struct Said {
    VolumeObstacle obstacle;
    uint32_t tag;
    const char16_t *target;
};

}  // namespace

#define VX_EXPORTED extern "C" __attribute__((visibility("default")))

VX_EXPORTED int32_t open_bitlocker_device(const char *first, const char *, const char *,
                                          IVolume **volume)
{
    static const std::map<std::string, std::vector<StandInEntry> (*)()> kTrees = {
        {"kinds", TreeOfEveryKind},
        {"holes", TreeWithHoles},
        {"many", TreeOfManyRows},
        {"streams", TreeWithStreams}};
    const auto tree = kTrees.find(first);
    if (tree == kTrees.end())
        return 1;
    static vx::StandInVolume *kept = nullptr;
    kept = new vx::StandInVolume(tree->second(), "");
    *volume = kept;
    return 0;
}

VX_EXPORTED bool volume_library_describe_entry(IVolume *, const char16_t *path,
                                               VolumeEntryReport *report)
{
    static const std::map<std::u16string, Said> kSaid = {
        {u"/closed", {VolumeObstacle::kUnreadable, 0, u""}},
        {u"/junction", {VolumeObstacle::kLink, 0xA0000003, u"\\??\\C:\\a \"b\""}},
        {u"/packed.exe", {VolumeObstacle::kPacked, 0x80000017, u""}},
        {u"/cloud.doc", {VolumeObstacle::kOnlyInCloud, 0x9000601A, u""}},
        {u"/strange", {VolumeObstacle::kUnknownReparsePoint, 0x1234, u""}},
    };
    *report = {};
    const auto said = kSaid.find(path);
    if (said == kSaid.end())
        return true;
    report->obstacle = said->second.obstacle;
    report->reparseTag = said->second.tag;
    const std::u16string target = said->second.target;
    std::copy(target.begin(), target.end(), report->target);
    return true;
}

VX_EXPORTED bool volume_library_visit_streams(IVolume *, const char16_t *path,
                                              VolumeStreamFunction stream, void *context)
{
    if (path == std::u16string(u"/f.txt")) {
        stream(context, u"Zone.Identifier", 26);
        stream(context, u"a \"b\"", kUnknownStreamSize);
    }
    return path != std::u16string(u"/torn");
}

VX_EXPORTED bool volume_library_describe_listing(IVolume *, VolumeHandle search,
                                                 VolumeListingReport *report)
{
    static const std::map<std::u16string, VolumeListingReport> kSaid = {
        {u"", {false, VolumeObstacle::kDamaged, 1, 0}},
        {u"/few", {false, VolumeObstacle::kUnreadable, 1500, 0}},
        {u"/found", {true, VolumeObstacle::kNone, 0, 2}},
        {u"/some", {false, VolumeObstacle::kDamaged, 0, 0}},
    };
    *report = {};
    const auto said = kSaid.find(vx::StandInVolume::FolderOf(search));
    if (said != kSaid.end())
        *report = said->second;
    return true;
}
