#include "StandInTrees.h"

#include <cstring>

namespace vx {
namespace {

constexpr uint32_t kFolder = 0x10;
constexpr uint32_t kReparsePoint = 0x400;
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

StandInEntry Closed(StandInEntry entry)
{
    entry.opens = false;
    return entry;
}

StandInEntry Link(StandInEntry entry)
{
    entry.opens = false;
    entry.attributes |= kReparsePoint;
    entry.reparseTag = kReparseTagSymlink;
    entry.obstacle = VolumeObstacle::kLink;
    return entry;
}

StandInEntry Kept(StandInEntry entry, VolumeObstacle obstacle)
{
    entry.opens = false;
    entry.attributes |= kReparsePoint;
    entry.reparseTag = 0x80000017;  // of no link
    entry.obstacle = obstacle;
    return entry;
}

// The first file is complete, the second stalls in its second chunk, the third waits.
std::vector<StandInEntry> StallingTree()
{
    StandInEntry second = File(u"", u"two.bin", 12 * kMiB);
    second.stallsAtRead = 2;
    return {File(u"", u"one.bin", 5 * kMiB), second, File(u"", u"three.bin", 10)};
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
            Link(Folder(u"", u"link-to-folder")),
            Link(File(u"", u"link-to-nothing", 0)),
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

std::vector<StandInEntry> DuplicateTree()
{
    return {File(u"", u"a.txt", 5), File(u"", u"b.txt", 5), File(u"", u"a.txt", 7),
            Folder(u"", u"f"), File(u"/f", u"x", 3)};
}

std::vector<StandInEntry> DuplicateFolderTree()
{
    return {Folder(u"", u"f"), File(u"/f", u"x", 3), Folder(u"", u"f")};
}

// Names of 255 units, most of them of two bytes; two of them differ in the last one only.
std::vector<StandInEntry> LongNamesTree()
{
    const std::u16string name(250, u'\u00e9');
    StandInEntry inside = File(u"", u"inside.txt", 9);
    inside.folder = u"/" + std::u16string(255, u'\u65e5');
    return {File(u"", (name + u"1.txt").c_str(), 5), File(u"", (name + u"2.txt").c_str(), 7),
            File(u"", u"short.txt", 3), Folder(u"", inside.folder.c_str() + 1), inside};
}

// The name that the first long one would get is taken.
std::vector<StandInEntry> LongAndTakenTree()
{
    const std::u16string cut(124, u'\u00e9');
    return {File(u"", (std::u16string(250, u'\u00e9') + u".txt").c_str(), 5),
            File(u"", (cut + u"~1.txt").c_str(), 7)};
}

std::vector<StandInEntry> BackslashTree()
{
    return {File(u"", u"\\", 5), File(u"", u"\\\\", 7), Folder(u"", u"f"), File(u"/f", u"\\", 9)};
}

// Folders of long names, so that the path of the file has more bytes than a path may have.
std::vector<StandInEntry> DeepTree()
{
    constexpr int kDepth = 60;
    std::vector<StandInEntry> entries;
    std::u16string folder;
    for (int depth = 0; depth < kDepth; ++depth) {
        entries.push_back(Folder(u"", std::u16string(100, u'n').c_str()));
        entries.back().folder = folder;
        folder += u"/" + entries.back().name;
    }
    entries.push_back(File(u"", u"deep.txt", 5));
    entries.back().folder = folder;
    return entries;
}

std::vector<StandInEntry> CaseTree()
{
    return {Folder(u"", u"A"), File(u"/A", u"x", 5), Folder(u"", u"a"), File(u"/a", u"X", 7)};
}

std::vector<StandInEntry> MeetingTree()
{
    return {Folder(u"", u"A"), File(u"/A", u"x", 5), Folder(u"", u"a"), File(u"/a", u"x", 7)};
}

// Two ranges of one file cannot be read; what lies after them can.
std::vector<StandInEntry> UnreadTree()
{
    StandInEntry damaged = File(u"", u"damaged.bin", 6 * kMiB);
    damaged.unread = {{kMiB, 4096}, {5 * kMiB, 512}};
    return {File(u"", u"before.bin", 5), damaged, File(u"", u"behind.bin", 7)};
}

// Of two files that a mount hands over when they are opened, one cannot be read in full.
std::vector<StandInEntry> UnreadSmallTree()
{
    StandInEntry damaged = File(u"", u"damaged.bin", 40000);
    damaged.unread = {{8192, 512}};
    return {File(u"", u"before.bin", 40000), damaged};
}

std::vector<StandInEntry> RiddledTree()
{
    StandInEntry riddled = File(u"", u"riddled.bin", kMiB);
    for (uint32_t i = 0; i < 20; ++i)
        riddled.unread.push_back({i * 8192, 512});
    return {riddled};
}

// The disk goes away in the second chunk of the second file.
std::vector<StandInEntry> GoneTree()
{
    StandInEntry second = File(u"", u"two.bin", 12 * kMiB);
    second.goesAtRead = 2;
    return {File(u"", u"one.bin", 10), second, File(u"", u"three.bin", 10),
            File(u"", u"four.bin", 10)};
}

std::vector<StandInEntry> ObstacleTree()
{
    StandInEntry here = File(u"", u"here.txt", 5);
    here.attributes = kReparsePoint;
    here.reparseTag = 0x9000001A;  // a cloud file whose data is here
    StandInEntry contradictory = File(u"", u"contradictory.txt", 5);
    contradictory.obstacle = VolumeObstacle::kDamaged;
    return {here,
            Kept(File(u"", u"packed1.exe", 50), VolumeObstacle::kPacked),
            Kept(File(u"", u"packed2.exe", 50), VolumeObstacle::kPacked),
            Kept(File(u"", u"cloud.txt", 50), VolumeObstacle::kOnlyInCloud),
            Kept(Folder(u"", u"cloud"), VolumeObstacle::kOnlyInCloud),
            Kept(File(u"", u"efs.txt", 50), VolumeObstacle::kEncryptedFile),
            Closed(File(u"", u"closed.txt", 5)),
            contradictory,
            Link(File(u"", u"link", 0))};
}

// As an older library lists what it does not open.
std::vector<StandInEntry> UntaggedTree()
{
    StandInEntry untagged = Closed(File(u"", u"untagged", 0));
    untagged.attributes = kReparsePoint;
    return {untagged, File(u"", u"good.txt", 5)};
}

std::vector<StandInEntry> DamagedFolderTree()
{
    StandInEntry partial = Folder(u"", u"partial");
    partial.missingEntries = 3;
    StandInEntry recovered = Folder(u"", u"recovered");
    recovered.recoveredEntries = 1;
    return {partial,
            File(u"/partial", u"a.txt", 5),
            recovered,
            File(u"/recovered", u"b.txt", 7),
            Folder(u"", u"whole"),
            File(u"/whole", u"c.txt", 9)};
}

std::vector<StandInEntry> LateListingTree()
{
    StandInEntry late = Folder(u"", u"late");
    late.listingsThatFail = 1;
    return {late, File(u"/late", u"inside.txt", 5), File(u"", u"good.txt", 5)};
}

std::vector<StandInEntry> ImageNameTree()
{
    return {File(u"", u"disk.E01", 5), File(u"", u"disk.E02", 7), File(u"", u"other.txt", 9)};
}

std::vector<StandInEntry> LargeTree()
{
    return {File(u"", u"one.bin", 5 * kMiB), File(u"", u"two.bin", 5 * kMiB),
            File(u"", u"three.bin", 5 * kMiB)};
}

std::vector<StandInEntry> GoneInSmallFileTree()
{
    StandInEntry gone = File(u"", u"two.bin", 5000);
    gone.goesAtRead = 1;
    return {File(u"", u"one.bin", 10), gone, File(u"", u"three.bin", 5)};
}

std::vector<StandInEntry> ImpossibleSizeTree()
{
    StandInEntry impossible = File(u"", u"impossible.bin", 5);
    impossible.sizeHigh = 0x80000000;
    return {impossible, File(u"", u"good.txt", 5)};
}

std::vector<StandInEntry> LackingTree()
{
    StandInEntry lacking = File(u"", u"lacking.bin", 5);
    lacking.lacks = 1;
    return {lacking, File(u"", u"good.txt", 5)};
}

StandInEntry Stream(StandInEntry entry)
{
    entry.isStream = true;
    return entry;
}

std::vector<StandInEntry> StreamsTree()
{
    StandInEntry dated = File(u"", u"dated.txt", 3);
    dated.modified = 130000000000000000;
    StandInEntry torn = File(u"", u"torn.txt", 3);
    torn.hasMoreStreams = true;
    StandInEntry holed = Stream(File(u"/folder", u"inside.txt:holed", 3 * kMiB));
    holed.unread = {{4096, 512}};
    StandInEntry ofDated = Stream(File(u"", u"dated.txt:Zone.Identifier", 26));
    return {dated,
            ofDated,
            torn,
            Folder(u"", u"folder"),
            Stream(File(u"", u"folder:of a folder", 7)),
            File(u"/folder", u"inside.txt", 5),
            holed,
            Closed(Stream(File(u"/folder", u"inside.txt:closed", 9))),
            Stream(File(u"/folder", u"inside.txt:..\\..\\escaped", 9)),
            Kept(File(u"", u"efs.txt", 50), VolumeObstacle::kEncryptedFile),
            Closed(Stream(File(u"", u"efs.txt:s", 9))),
            File(u"", u"same", 5),
            File(u"", u"same:s", 6),
            Stream(File(u"", u"same:s", 7)),
            Stream(File(u"", u":of the root", 8))};
}

std::vector<StandInEntry> OpenedTree()
{
    return {File(u"", u"opened.txt", 5)};
}

struct NamedTree {
    const char *name;
    std::vector<StandInEntry> (*make)();
};

constexpr NamedTree kTrees[] = {{"streams", StreamsTree},
                                {"stalling", StallingTree},
                                {"stalling-listing", StallingListing},
                                {"hostile", HostileTree},
                                {"failing", FailingTree},
                                {"changing", ChangingTree},
                                {"colliding", CollidingTree},
                                {"duplicate", DuplicateTree},
                                {"duplicate-folder", DuplicateFolderTree},
                                {"long-names", LongNamesTree},
                                {"long-and-taken", LongAndTakenTree},
                                {"backslash", BackslashTree},
                                {"deep", DeepTree},
                                {"case", CaseTree},
                                {"meeting", MeetingTree},
                                {"unread", UnreadTree},
                                {"unread-small", UnreadSmallTree},
                                {"riddled", RiddledTree},
                                {"gone", GoneTree},
                                {"gone-in-small-file", GoneInSmallFileTree},
                                {"impossible-size", ImpossibleSizeTree},
                                {"lacking", LackingTree},
                                {"obstacles", ObstacleTree},
                                {"untagged", UntaggedTree},
                                {"damaged-folders", DamagedFolderTree},
                                {"late-listing", LateListingTree},
                                {"large", LargeTree},
                                {"locked", OpenedTree}};

// The volume is a file: the tree is that of an image, named by the file's own extension.
bool IsImage(const char *name)
{
    const char *dot = strrchr(name, '.');
    return dot != nullptr && (strcmp(dot, ".E01") == 0 || strcmp(dot, ".vmdk") == 0);
}

}  // namespace

bool FindStandInTree(const char *name, std::vector<StandInEntry> *entries)
{
    for (const NamedTree &tree : kTrees) {
        if (strcmp(tree.name, name) == 0) {
            *entries = tree.make();
            return true;
        }
    }
    if (!IsImage(name))
        return false;
    *entries = ImageNameTree();
    return true;
}

}  // namespace vx
