// A volume library for the tests of the programs. The first text says what the entry does; the
// third is the secret, or the folder for a stall.
#include "StandInVolume.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using vx::StandInEntry;

constexpr uint32_t kFolder = 0x10;
constexpr uint32_t kLink = 0x400;
constexpr uint32_t kMiB = 1 << 20;

StandInEntry File(const char16_t *folder, const char16_t *name, uint32_t size)
{
    StandInEntry entry;
    entry.folder = folder;
    entry.name = name;
    entry.listedSize = size;
    entry.size = size;
    return entry;
}

StandInEntry Folder(const char16_t *folder, const char16_t *name)
{
    StandInEntry entry = File(folder, name, 0);
    entry.attributes = kFolder;
    return entry;
}

StandInEntry Closed(StandInEntry entry, uint32_t attributes = 0)
{
    entry.opens = false;
    entry.attributes |= attributes;
    return entry;
}

// The first file is complete, the second stalls in its second chunk, the third waits.
std::vector<StandInEntry> StallingTree()
{
    StandInEntry second = File(u"", u"two.bin", 12 * kMiB);
    second.stallsAtRead = 2;
    return {File(u"", u"one.bin", 5 * kMiB), second, File(u"", u"three.bin", 10)};
}

// Stalls when it is compared: only then is a file of this size read in more than one piece.
std::vector<StandInEntry> StallingComparison()
{
    StandInEntry first = File(u"", u"one.bin", 3 * kMiB);
    first.stallsAtRead = 2;
    return {first, File(u"", u"two.bin", 10)};
}

std::vector<StandInEntry> StallingListing()
{
    StandInEntry folder = Folder(u"", u"slow");
    folder.listingStalls = true;
    return {folder, File(u"/slow", u"inside.txt", 5)};
}

std::vector<StandInEntry> HostileTree()
{
    return {File(u"", u"good.txt", 5),
            Folder(u"", u".."),
            Folder(u"", u"."),
            File(u"/..", u"inside-parent.txt", 5),
            File(u"", u"..", 5),
            File(u"", u"a/../../escaped1", 5),
            File(u"", u"a\\..\\..\\escaped2", 5),
            File(u"", u"..\\escaped3", 5),
            Folder(u"", u"x/../.."),
            File(u"/x/../..", u"escaped4", 5),
            Folder(u"", u""),
            File(u"", u"evil\x1b]0;owned\x07\r\n\u202e.txt", 5)};
}

std::vector<StandInEntry> FailingTree()
{
    StandInEntry damaged = File(u"", u"damaged.bin", 10);
    damaged.readsFail = true;
    StandInEntry grown = File(u"", u"grown.bin", 10);
    grown.size = 20;
    return {File(u"", u"good.txt", 5),
            Closed(File(u"", u"closed.txt", 5)),
            Closed(Folder(u"", u"closed")),
            Closed(Folder(u"", u"link-to-folder"), kLink),
            Closed(File(u"", u"link-to-nothing", 0), kLink),
            damaged,
            grown};
}

std::vector<StandInEntry> ChangingTree()
{
    StandInEntry changing = File(u"", u"changing.bin", 3 * kMiB);
    changing.changes = true;
    return {changing, File(u"", u"steady.bin", 10)};
}

std::vector<StandInEntry> CollidingTree()
{
    return {Folder(u"", u"a"), File(u"/a", u"b", 5), File(u"", u"a\\b", 5)};
}

bool IsSecretRight(const char *kind, const char *secret)
{
    return strcmp(kind, "password") == 0 && strcmp(secret, "s3cret w\xc3\xb6rd") == 0;
}

// A volume belongs to its library, until the process ends.
vx::StandInVolume *Kept(std::vector<vx::StandInEntry> entries, const char *third)
{
    static std::vector<std::unique_ptr<vx::StandInVolume>> volumes;
    volumes.push_back(std::make_unique<vx::StandInVolume>(std::move(entries), third));
    return volumes.back().get();
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int32_t
open_bitlocker_device(const char *first, const char *second, const char *third, IVolume **volume)
{
    static const std::map<std::string, std::vector<StandInEntry> (*)()> kTrees = {
        {"stalling", StallingTree},
        {"stalling-comparison", StallingComparison},
        {"stalling-listing", StallingListing},
        {"hostile", HostileTree},
        {"failing", FailingTree},
        {"changing", ChangingTree},
        {"colliding", CollidingTree}};
    *volume = nullptr;
    if (strncmp(first, "status=", 7) == 0)
        return atoi(first + 7);
    if (strcmp(first, "locked") == 0 && !IsSecretRight(second, third))
        return 22;
    if (strcmp(first, "locked") == 0) {
        *volume = Kept({File(u"", u"opened.txt", 5)}, "");
        return 0;
    }
    const auto tree = kTrees.find(first);
    if (tree != kTrees.end())
        *volume = Kept(tree->second(), third);
    return 0;
}
