// Volumes whose folders form a graph instead of a tree: several entries lead to one folder, or one
// leads back up. Each folder opens by one path, whatever leads to it, so that what lies below is
// listed and exported once.
#include "ExfatImage.h"
#include "FatFolderOwners.h"
#include "FatGeometry.h"
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "PutNumber.h"
#include "TestImage.h"

#include <cstring>
#include <functional>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

// Folders as they lie one after the other: the root is 0.
struct Link {
    std::u16string name;
    int folder;  // where it leads; kFile: to a file
};
constexpr int kFile = -1;
using Graph = std::vector<std::vector<Link>>;

// Each folder leads to the next one by every one of the names, the last one to a file.
Graph Ladder(int levels, const std::vector<std::u16string> &names)
{
    Graph graph;
    for (int level = 1; level <= levels; ++level) {
        graph.emplace_back();
        for (const std::u16string &name : names)
            graph.back().push_back({name, level});
    }
    graph.push_back({{u"file", kFile}});
    return graph;
}

std::string ExfatOf(const Graph &graph)
{
    constexpr uint32_t kFirst = 100;
    const TestImage made{};
    EXPECT_TRUE(made.MakeExfat(8));
    ExfatImage image(made.Folder().ReadFile("image"));
    const auto clusterOf = [&](int folder) {
        return folder == 0 ? image.root : kFirst + static_cast<uint32_t>(folder);
    };
    const uint64_t size = image.clusterBytes;
    for (size_t folder = 0; folder < graph.size(); ++folder) {
        for (const Link &link : graph[folder]) {
            const auto in = clusterOf(static_cast<int>(folder));
            if (link.folder == kFile)
                image.Add(in, {link.name, 0x20, true, 0, 0, 0});
            else
                image.Add(in, {link.name, 0x10, true, clusterOf(link.folder), size, size});
        }
    }
    return image.Text();
}

// Short names in capitals, so that an entry has 32 bytes.
void AddToFat(Bytes *bytes, size_t folderAt, const std::u16string &name, bool isFolder,
              uint32_t cluster)
{
    while (bytes->at(folderAt) != 0)
        folderAt += 32;
    std::memset(bytes->data() + folderAt, ' ', 11);
    for (size_t i = 0; i < name.size(); ++i)
        bytes->at(folderAt + i) = static_cast<uint8_t>(name[i] - u'a' + u'A');
    bytes->at(folderAt + 11) = isFolder ? 0x10 : 0x20;
    bytes->at(folderAt + 12) = 0x18;  // small letters
    PutNumber(bytes, folderAt + 26, cluster, 2);
}

std::string FatOf(const Graph &graph, const std::string &options)
{
    constexpr uint32_t kFirst = 100;
    const TestImage made{};
    EXPECT_TRUE(made.MakeFat(40, options));
    const std::string text = made.Folder().ReadFile("image");
    Bytes bytes(text.begin(), text.end());
    const auto taken = TakeFatGeometry(bytes);
    EXPECT_TRUE(taken);
    const FatGeometry geometry = taken.value_or(FatGeometry());
    const bool is32 = geometry.kind == FatGeometry::Kind::k32;
    const auto clusterOf = [&](int folder) {
        return folder == 0 ? geometry.rootCluster : kFirst + static_cast<uint32_t>(folder);
    };
    const auto placeOf = [&](int folder) {
        const uint64_t cluster = clusterOf(folder);
        return cluster == 0 ? geometry.rootOffset
                            : geometry.clustersOffset + (cluster - 2) * geometry.clusterBytes;
    };
    for (size_t i = 0; i < graph.size(); ++i) {
        const int folder = static_cast<int>(i);
        if (clusterOf(folder) != 0)  // it has one cluster
            PutNumber(&bytes, geometry.tableOffset + clusterOf(folder) * (is32 ? 4u : 2u),
                      0x0FFFFFFF, is32 ? 4 : 2);
        for (const Link &link : graph[i])
            AddToFat(&bytes, placeOf(folder), link.name, link.folder != kFile,
                     link.folder == kFile ? 0 : clusterOf(link.folder));
    }
    return {bytes.begin(), bytes.end()};
}

uint64_t NtfsRecordOf(int folder)
{
    return folder == 0 ? NtfsWriter::kRoot
                       : NtfsWriter::kFirstOrdinary + static_cast<uint64_t>(folder);
}

// The name of a folder's own record is that of the first entry that leads to it.
std::string NtfsOf(const Graph &graph)
{
    NtfsWriter ntfs;
    std::map<int, Bytes> ownNames;
    for (size_t i = 0; i < graph.size(); ++i) {
        const uint64_t number = NtfsRecordOf(static_cast<int>(i));
        std::vector<Bytes> lines;
        for (const Link &link : graph[i]) {
            const uint64_t to = NtfsRecordOf(link.folder == kFile ? 30 : link.folder);
            lines.push_back(NtfsWriter::Name(to, link.name, -1, number));
            if (link.folder == kFile)
                ntfs.PutFile(to, {NtfsWriter::Data("")});
            else
                ownNames.emplace(link.folder, NtfsWriter::OwnName(link.name, number));
        }
        lines.push_back(NtfsWriter::Last());
        ntfs.PutFolder(number, {ownNames[static_cast<int>(i)], NtfsWriter::IndexRoot(lines)});
    }
    return {ntfs.Image().begin(), ntfs.Image().end()};
}

struct GraphKind {
    const char *name;
    const char *program;
    std::function<std::string(const Graph &)> imageOf;
    std::unique_ptr<OwnedVolume> (*open)(const Source &);

    friend void PrintTo(const GraphKind &kind, std::ostream *out) { *out << kind.name; }
};

class EachGraph : public testing::TestWithParam<GraphKind> {
protected:
    void SetUp() override
    {
        if (GetParam().program != nullptr)
            VX_NEEDS(GetParam().program);
    }

    IVolume &Open(const Graph &graph)
    {
        volume = GetParam().open(SourceOf(GetParam().imageOf(graph)));
        EXPECT_TRUE(volume);
        return *volume;
    }

    // How many entries a walk through all folders finds, as an export plans it; no more than the
    // limit.
    static size_t CountAll(IVolume &volume, size_t limit)
    {
        std::vector<std::u16string> folders = {u""};
        size_t count = 0;
        while (!folders.empty() && count < limit) {
            const std::u16string folder = folders.back();
            folders.pop_back();
            const auto entries = ListFolder(volume, folder + u"/*");
            if (!entries)
                continue;
            for (const VolumeFindData &entry : *entries) {
                ++count;
                if ((entry.attributes & kVolumeAttributeDirectory) != 0)
                    folders.push_back(folder + u"/" + entry.name);
            }
        }
        return count;
    }

    std::unique_ptr<OwnedVolume> volume;
};

constexpr size_t kMany = 5000;

TEST_P(EachGraph, EntriesThatLeadToOneFolderMultiplyNothing)
{
    constexpr int kLevels = 24;
    EXPECT_EQ(CountAll(Open(Ladder(kLevels, {u"x", u"y"})), kMany), size_t{2 * kLevels + 1});
}

TEST_P(EachGraph, AllEntriesAreShownAndOneOpens)
{
    IVolume &opened = Open(Ladder(3, {u"x", u"y"}));
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(SortedNames(opened, u"/*"), (std::vector<std::u16string>{u"x", u"y"}));
        EXPECT_EQ(SortedNames(opened, u"/x/x/*"), (std::vector<std::u16string>{u"x", u"y"}));
        EXPECT_TRUE(Opens(opened, u"/x/x/x/file"));
        EXPECT_FALSE(ListFolder(opened, u"/y/*"));
        EXPECT_FALSE(ListFolder(opened, u"/x/y/*"));
        EXPECT_FALSE(Opens(opened, u"/x/y/x/file"));
        EXPECT_FALSE(Opens(opened, u"/x/x/y/file"));
    }
}

TEST_P(EachGraph, FoldersOfOneNameMultiplyNothing)
{
    constexpr int kLevels = 24;
    IVolume &opened = Open(Ladder(kLevels, {u"x", u"x", u"x"}));
    EXPECT_EQ(CountAll(opened, kMany), size_t{kLevels + 1});
    EXPECT_EQ(SortedNames(opened, u"/x/*"), std::vector<std::u16string>{u"x"});
}

TEST_P(EachGraph, AFolderThatLeadsToItselfToItsParentOrToTheRootDoesNotOpenThere)
{
    IVolume &opened = Open(
        {{{u"a", 1}}, {{u"b", 2}, {u"root", 0}}, {{u"self", 2}, {u"up", 1}, {u"file", kFile}}});
    EXPECT_TRUE(Opens(opened, u"/a/b/file"));
    for (const char16_t *path : {u"/a/root/*", u"/a/b/self/*", u"/a/b/up/*", u"/a/b/up/b/*"})
        EXPECT_FALSE(ListFolder(opened, path)) << Utf8(path);
    EXPECT_LE(CountAll(opened, kMany), 6u);
    EXPECT_GE(CountAll(opened, kMany), 5u);  // NTFS does not show the root in another folder
}

TEST_P(EachGraph, OfFoldersThatAllLeadToEachOtherEachIsListedOnce)
{
    constexpr int kFolders = 7;
    Graph graph;
    for (int folder = 0; folder <= kFolders; ++folder) {
        graph.emplace_back();
        for (char16_t i = 1; i <= kFolders; ++i)
            graph.back().push_back({{static_cast<char16_t>(u'a' + i - 1)}, i});
    }
    EXPECT_EQ(CountAll(Open(graph), kMany), size_t{(kFolders + 1) * kFolders});
}

INSTANTIATE_TEST_SUITE_P(
    FolderGraph, EachGraph,
    testing::Values(GraphKind{"Fat16", "mkfs.fat",
                              [](const Graph &g) { return FatOf(g, "-F 16 -s 2"); }, FatVolumeOf},
                    GraphKind{"Fat32", "mkfs.fat",
                              [](const Graph &g) { return FatOf(g, "-F 32 -s 2"); }, FatVolumeOf},
                    GraphKind{"Exfat", "mkfs.exfat", ExfatOf, FatVolumeOf},
                    GraphKind{"Ntfs", nullptr, NtfsOf, NtfsVolumeOf}),
    [](const auto &tested) { return std::string(tested.param.name); });

TEST(FolderGraph, AnExportOfAVolumeThatMultipliesEnds)
{
    VX_NEEDS("mkfs.exfat");
    const TestImage image{};
    image.Folder().WriteFile("image", ExfatOf(Ladder(40, {u"x", u"y"})));
    // Not all folders can be listed, and the tool says so. 124 would mean: ended by the time limit.
    constexpr const char *kHowItEnded = "; test $? = 1";
    EXPECT_TRUE(RunShell("timeout 60 " VX_TOOL " --to " + Quoted(image.At("out")) + " " +
                         Quoted(image.Path()) + kHowItEnded));
    EXPECT_TRUE(RunShell("test $(find " + Quoted(image.At("out")) + " -type f | wc -l) = 1"));
}

class SharedClusters : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.exfat");
        const TestImage made{};
        ASSERT_TRUE(made.MakeExfat(8));
        ExfatImage image(made.Folder().ReadFile("image"));
        const uint64_t size = image.clusterBytes;
        image.Add(image.root, {u"two", 0x10, true, 100, 2 * size, 2 * size});
        image.Add(image.root, {u"second of two", 0x10, true, 101, size, size});
        image.Add(image.root, {u"behind", 0x10, true, 102, size, size});
        image.Add(100, {u"file", 0x20, true, 0, 0, 0});
        image.Add(102, {u"file", 0x20, true, 0, 0, 0});
        volume = FatVolumeOf(SourceOf(image.Text()));
        ASSERT_TRUE(volume);
    }

    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(SharedClusters, OfTwoFoldersTheOneThatIsOpenedFirstHasThem)
{
    EXPECT_TRUE(ListFolder(*volume, u"/two/*"));
    EXPECT_FALSE(ListFolder(*volume, u"/second of two/*"));
    EXPECT_TRUE(ListFolder(*volume, u"/two/*"));
    EXPECT_TRUE(Opens(*volume, u"/behind/file"));
}

TEST_F(SharedClusters, TheOneThatIsOpenedFirstMayBeAnyOfThem)
{
    EXPECT_TRUE(ListFolder(*volume, u"/second of two/*"));
    EXPECT_FALSE(ListFolder(*volume, u"/two/*"));
    EXPECT_FALSE(Opens(*volume, u"/two/file"));
    EXPECT_TRUE(ListFolder(*volume, u"/second of two/*"));
    EXPECT_TRUE(Opens(*volume, u"/behind/file"));
}

TEST(FatFolderOwners, WhatIsClaimedByOneWayIsRefusedToAnother)
{
    FatFolderOwners owners;
    EXPECT_TRUE(owners.Claim({1, 1}, {{10, 12}, {20, 25}}));
    EXPECT_TRUE(owners.Claim({1, 1}, {{10, 12}, {20, 25}}));
    for (const FatFolderOwners::Piece piece :
         {FatFolderOwners::Piece{10, 11}, {11, 12}, {9, 30}, {24, 26}, {19, 21}, {22, 23}}) {
        EXPECT_FALSE(owners.Claim({1, 2}, {{100, 101}, piece})) << piece.begin;
        EXPECT_FALSE(owners.Claim({2, 1}, {piece})) << piece.begin;
    }
    EXPECT_TRUE(owners.Claim({3, 3}, {{8, 10}, {12, 20}, {25, 100}}));
    // What was refused has claimed nothing.
    EXPECT_TRUE(owners.Claim({4, 4}, {{100, 101}}));
}

TEST(FatFolderOwners, TheirNumberIsLimited)
{
    FatFolderOwners owners;
    constexpr auto kMost = static_cast<uint32_t>(FatFolderOwners::kMostPieces);
    std::vector<FatFolderOwners::Piece> pieces;
    for (uint32_t i = 0; i < kMost / 16; ++i)
        pieces.push_back({2 * i, 2 * i + 1});
    for (uint32_t folder = 0; folder < 16; ++folder) {
        EXPECT_TRUE(owners.Claim({folder, 1}, pieces));
        for (FatFolderOwners::Piece &piece : pieces)
            piece = {piece.begin + kMost, piece.end + kMost};
    }
    EXPECT_FALSE(owners.Claim({16, 1}, {{kMost * 32, kMost * 32 + 1}}));
    EXPECT_TRUE(owners.Claim({0, 1}, {{0, 1}}));
}

}  // namespace
}  // namespace vx
