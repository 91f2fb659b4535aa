// What a host hears of a failing disk is what volume-export reports of the same disk: both are kept
// from reading the same sectors.
#include "HostPeer.h"

#include "FailingSource.h"
#include "ReportingVolume.h"
#include "Salvaged.h"
#include "TestImage.h"
#include "ToolRun.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sys/socket.h>
#include <sys/wait.h>

namespace vx {
namespace {

constexpr uint64_t kSector = 512;

// By the path: what kind of damage, and the ranges of a file.
using Damages = std::map<std::string, std::string>;

std::string RangesText(const ByteRanges &ranges)
{
    std::string text;
    for (const ByteRange &range : ranges)
        text += " " + std::to_string(range.offset) + "+" + std::to_string(range.length);
    return text;
}

std::string OnlyIn(const Damages &one, const Damages &other)
{
    std::string text;
    for (const auto &[path, kind] : one) {
        const auto same = other.find(path);
        if (same == other.end() || same->second != kind)
            text += path + ": " + kind + "\n";
    }
    return text;
}

TestTree Tree()
{
    TestTree tree;
    for (unsigned i = 0; i < 60; ++i) {
        const std::string folder = "folder" + std::to_string(i % 6) + "/";
        tree[folder + "a name that takes several entries of its folder " + std::to_string(i)] =
            NoiseBytes(500 + i * 997, i);
    }
    tree["large"] = NoiseBytes(6 << 20, 99);
    return tree;
}

ByteRanges BadSectors(uint64_t size, unsigned seed)
{
    std::mt19937_64 random(seed);
    std::set<uint64_t> sectors;
    while (sectors.size() < 400)
        sectors.insert(random() % (size / kSector));
    ByteRanges ranges;
    for (const uint64_t sector : sectors)
        AddRange(sector * kSector, kSector, &ranges);
    return ranges;
}

// As GNU ddrescue writes it.
std::string MapText(const ByteRanges &bad, uint64_t size)
{
    std::string text = "0x0 + 1\n";
    char line[64];
    uint64_t at = 0;
    const auto add = [&](uint64_t length, char status) {
        std::snprintf(line, sizeof line, "0x%llx 0x%llx %c\n", static_cast<unsigned long long>(at),
                      static_cast<unsigned long long>(length), status);
        text += length > 0 ? line : "";
        at += length;
    };
    for (const ByteRange &range : bad) {
        add(range.offset - at, '+');
        add(range.length, '-');
    }
    add(size - at, '+');
    return text;
}

class HostDamage : public testing::TestWithParam<const char *> {
protected:
    void SetUp() override
    {
        const bool isNtfs = std::string(GetParam()) == "ntfs";
        VX_NEEDS(isNtfs ? "mkntfs" : "mkfs.fat");
        VX_NEEDS("python3");
        if (isNtfs && !CanMountNtfs())
            GTEST_SKIP() << "NTFS images cannot be mounted here";
        ASSERT_TRUE(isNtfs ? image.MakeNtfs(24) : image.MakeFat(24, "-F 16 -s 1"));
        ASSERT_TRUE(isNtfs ? image.FillNtfs(Tree()) : image.FillFat(Tree()));
    }

    void TearDown() override { volume_library_set_opening_options(nullptr); }

    // Nothing if the volume does not open.
    std::optional<Damages> OfVolumeExport(const ByteRanges &bad)
    {
        image.Folder().WriteFile("map", MapText(bad, kSize));
        ToolRun run("/usr/bin/env",
                    {VX_TOOL, "--map", image.At("map"), "--report", image.At("report"), "--to",
                     image.Folder().MakeFolder("copies" + std::to_string(++_exports)), image.Path(),
                     "/"});
        if (const int status = run.Wait(); status > 1)
            return std::nullopt;
        ToolRun parser("/usr/bin/env", {"python3", "-c", kParser, image.At("report")});
        EXPECT_EQ(parser.Wait(), 0) << parser.Errors();
        std::istringstream lines(parser.Output());
        Damages damages;
        for (std::string line; std::getline(lines, line);)
            damages[line.substr(0, line.find('|'))] = line.substr(line.find('|') + 1);
        return damages;
    }

    // Lists and reads everything that can be.
    static void ReadAll(IVolume &volume, const std::u16string &folder)
    {
        const auto entries = ListFolder(volume, folder + u"/*");
        for (const VolumeFindData &entry : entries.value_or(std::vector<VolumeFindData>())) {
            const std::u16string path = folder + u"/" + entry.name;
            if ((entry.attributes & kVolumeAttributeDirectory) != 0)
                ReadAll(volume, path);
            else if (Opens(volume, path))
                Salvage(static_cast<OwnedVolume &>(volume), path, 1 << 20);
        }
    }

    std::optional<Damages> OfTheChannel(const ByteRanges &bad)
    {
        VolumeOpeningOptions options;
        options.unread = bad.data();
        options.unreadCount = bad.size();
        EXPECT_TRUE(volume_library_set_opening_options(&options));
        HostPeer host(image.Path(), "none", "");
        IVolume *volume = nullptr;
        if (host.Open(&volume) != 0)
            return std::nullopt;
        ReadAll(*volume, u"");
        host.TakeReports();
        EXPECT_EQ(host.lost, 0u);
        Damages damages;
        for (const ChannelDamage &damage : host.damages)
            damages[damage.path] = KindText(damage);
        return damages;
    }

    static std::string KindText(const ChannelDamage &damage)
    {
        switch (damage.kind) {
        case ChannelDamageKind::kFileData:
            return (damage.ranges.empty() ? "damaged" : "unread") + RangesText(damage.ranges);
        case ChannelDamageKind::kFileClosed:
            return "not-opened";
        case ChannelDamageKind::kFolder:
            return "folder";
        case ChannelDamageKind::kDiskGone:
            return "gone";
        }
        return "";
    }

    static constexpr uint64_t kSize = 24 << 20;
    static constexpr char kParser[] =
        "import json,sys\n"
        "for f in json.load(open(sys.argv[1], encoding='utf-8'))['failures']:\n"
        "    ranges = ''.join(' %d+%d' % (u['offset'], u['length']) for u in f['unread'] or [])\n"
        "    print(f['path'] + '|' + f['kind'] + ranges)\n";

    const TestImage image{};
    int _exports = 0;
};

TEST_P(HostDamage, IsReportedAsVolumeExportReportsIt)
{
    int opened = 0;
    std::map<std::string, int> kinds;
    for (unsigned seed = 0; seed < 6; ++seed) {
        const ByteRanges bad = BadSectors(kSize, seed);
        const auto expected = OfVolumeExport(bad);
        const auto found = OfTheChannel(bad);
        ASSERT_EQ(found.has_value(), expected.has_value()) << seed;
        if (!found)
            continue;
        ++opened;
        EXPECT_EQ(OnlyIn(*found, *expected), "") << seed;
        EXPECT_EQ(OnlyIn(*expected, *found), "") << seed;
        for (const auto &[path, kind] : *found)
            ++kinds[kind.substr(0, kind.find(' '))];
    }
    EXPECT_GE(opened, 3);
    EXPECT_GT(kinds["unread"], 10);
    EXPECT_GT(kinds["folder"], 0);
}

INSTANTIATE_TEST_SUITE_P(FileSystems, HostDamage, testing::Values("fat", "ntfs"),
                         [](const auto &tested) { return std::string(tested.param); });

// --- Files whose data is elsewhere

TEST(HostOfUnusualFiles, HearsOfWhatIsNotExportedWhateverTheReasonButOfNoLink)
{
    VX_NEEDS("mkntfs");
    VX_NEEDS("setfattr");
    if (!CanMountNtfs())
        GTEST_SKIP() << "NTFS images cannot be mounted here";
    const TestImage image;
    ASSERT_TRUE(image.MakeNtfs(8));
    // Data of a server's store, of a cloud drive, of an unknown program, and a way to C:\x.
    const std::string mark = "setfattr -h -n system.ntfs_reparse_data -v 0x";
    const std::string bytes = "1000000000000000000000000000000000000000";
    ASSERT_TRUE(image.RunInNtfs("truncate -s 9000 dedup cloud other && " + mark + "13000080" +
                                bytes + " dedup && " + mark + "1a000090" + bytes + " cloud && " +
                                mark + "34120080" + bytes + " other && " +
                                "printf in > plain && mkdir point && " + mark +
                                "030000a01c0000000000100012000000"
                                "5c003f003f005c0043003a005c00780000000000 point"));
    HostPeer host(image.Path(), "none", "");
    IVolume *volume = nullptr;
    ASSERT_EQ(host.Open(&volume), 0);
    for (const auto *path : {u"/dedup", u"/cloud", u"/other", u"/point"})
        EXPECT_FALSE(Opens(*volume, path));
    EXPECT_TRUE(Opens(*volume, u"/plain"));
    EXPECT_FALSE(ListFolder(*volume, u"/point/*"));
    host.TakeReports();
    std::map<std::string, uint32_t> reported;
    for (const ChannelDamage &damage : host.damages) {
        EXPECT_EQ(damage.kind, ChannelDamageKind::kFileClosed);
        reported[damage.path] = damage.obstacle;
    }
    const auto number = [](VolumeObstacle obstacle) { return static_cast<uint32_t>(obstacle); };
    EXPECT_EQ(reported, (std::map<std::string, uint32_t>{
                            {"/dedup", number(VolumeObstacle::kDeduplicated)},
                            {"/cloud", number(VolumeObstacle::kOnlyInCloud)},
                            {"/other", number(VolumeObstacle::kUnknownReparsePoint)}}));
}

// --- A disk in memory

class HostOfFailingDisk : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(image.MakeFat(8, "-F 16 -s 1"));
        ASSERT_TRUE(image.FillFat({{"a", NoiseBytes(100000, 1)}, {"b", NoiseBytes(100000, 2)}}));
        disk = std::make_shared<FailingSource>(image.Folder().ReadFile("image"));
        Opened opened = OpenDiskOf(disk);
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
        ASSERT_TRUE(host.Prepare({}));
        auto channel = std::make_shared<ChildChannel>(UniqueFd(dup(host.ChildDescriptor())));
        host.CloseChildDescriptor();
        channel->Report(ChannelOpened{});
        ASSERT_TRUE(host.Read());
        volume = std::make_unique<ReportingVolume>(std::move(opened.volume), channel);
    }

    std::vector<ChannelDamage> Damages()
    {
        std::vector<ChannelDamage> damages;
        while (auto report = host.Read())
            if (auto *damage = std::get_if<ChannelDamage>(&*report))
                damages.push_back(std::move(*damage));
        return damages;
    }

    const TestImage image{};
    std::shared_ptr<FailingSource> disk;
    HostChannel host;
    std::unique_ptr<ReportingVolume> volume;
};

TEST_F(HostOfFailingDisk, HearsOfAFileWhenItIsClosed)
{
    const size_t place = disk->Bytes().find(NoiseBytes(100000, 1).substr(0, 512));
    ASSERT_NE(place, std::string::npos);
    disk->MakeBad(place + 1024, 512);
    const VolumeHandle file = OpenForReading(*volume, u"/a");
    char bytes[4096];
    uint32_t done = 0;
    EXPECT_FALSE(volume->ReadFile(file, bytes, sizeof bytes, &done));
    EXPECT_TRUE(Damages().empty());
    EXPECT_TRUE(volume->CloseHandle(file));
    const auto damages = Damages();
    ASSERT_EQ(damages.size(), 1u);
    EXPECT_EQ(damages[0].kind, ChannelDamageKind::kFileData);
    EXPECT_EQ(damages[0].obstacle, static_cast<uint32_t>(VolumeObstacle::kUnreadable));
    EXPECT_EQ(damages[0].path, "/a");
    EXPECT_EQ(RangesText(damages[0].ranges), " 1024+512");
}

TEST_F(HostOfFailingDisk, HearsNothingOfWhatIsWhole)
{
    EXPECT_TRUE(Salvage(*volume, u"/a").good);
    EXPECT_TRUE(ListFolder(*volume, u"/*"));
    EXPECT_TRUE(Damages().empty());
}

TEST_F(HostOfFailingDisk, HearsOfAFileThatWasBeingReadWhenTheDiskWent)
{
    const VolumeHandle file = OpenForReading(*volume, u"/a");
    char bytes[4096];
    uint32_t done = 0;
    EXPECT_TRUE(volume->ReadFile(file, bytes, sizeof bytes, &done));
    disk->FailWith(ENODEV);
    while (volume->ReadFile(file, bytes, sizeof bytes, &done) && done > 0) {
    }
    EXPECT_TRUE(volume->CloseHandle(file));
    const auto damages = Damages();
    ASSERT_EQ(damages.size(), 2u);
    EXPECT_EQ(damages[0].kind, ChannelDamageKind::kDiskGone);
    EXPECT_EQ(damages[1].kind, ChannelDamageKind::kFileData);
    EXPECT_EQ(damages[1].obstacle, static_cast<uint32_t>(VolumeObstacle::kDeviceGone));
    EXPECT_EQ(damages[1].path, "/a");
    EXPECT_EQ(RangesText(damages[1].ranges), " 4096+4096");
}

TEST_F(HostOfFailingDisk, HearsOnceThatTheDiskIsGone)
{
    disk->FailWith(ENODEV);
    EXPECT_FALSE(Salvage(*volume, u"/a").good);
    EXPECT_FALSE(Opens(*volume, u"/b"));
    EXPECT_FALSE(ListFolder(*volume, u"/*"));
    const auto damages = Damages();
    ASSERT_EQ(damages.size(), 2u);
    EXPECT_EQ(damages[0].kind, ChannelDamageKind::kDiskGone);
    EXPECT_EQ(damages[0].path, "");
    EXPECT_EQ(damages[1].path, "/a");
    EXPECT_EQ(damages[1].obstacle, static_cast<uint32_t>(VolumeObstacle::kDeviceGone));
    EXPECT_EQ(RangesText(damages[1].ranges), " 0+100000");
}

// --- A process that ends

// Reads the beginning of two files, closes the second one and ends as the explorer does.
[[noreturn]] void ReadAndEnd(const std::string &number)
{
    // As in a program that ends while they are in use.
    static IVolume *volume = nullptr;
    static VolumeHandle open[2] = {};
    if (open_bitlocker_device("not used", kChannelUnlockKind, number.c_str(), &volume) != 0)
        _exit(2);
    char bytes[4096];
    uint32_t done = 0;
    open[0] = OpenForReading(*volume, u"/open");
    (void)volume->ReadFile(open[0], bytes, sizeof bytes, &done);
    const VolumeHandle closed = OpenForReading(*volume, u"/closed");
    (void)volume->ReadFile(closed, bytes, sizeof bytes, &done);
    (void)volume->CloseHandle(closed);
    open[1] = OpenForReading(*volume, u"/whole");
    exit(0);
}

class HostOfEndingProcess : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(image.MakeFat(8, "-F 16 -s 1"));
        ASSERT_TRUE(image.FillFat({{"open", NoiseBytes(9000, 1)},
                                   {"closed", NoiseBytes(9000, 2)},
                                   {"whole", NoiseBytes(9000, 3)}}));
    }

    void TearDown() override { volume_library_set_opening_options(nullptr); }

    // The sector at this place of a file.
    ByteRange Sector(unsigned seed, uint64_t place) const
    {
        const size_t begin =
            image.Folder().ReadFile("image").find(NoiseBytes(9000, seed).substr(0, kSector));
        return {begin + place, kSector};
    }

    const TestImage image{};
};

TEST_F(HostOfEndingProcess, HearsOfAFileThatIsStillOpenAndAFarewell)
{
    ByteRanges bad = {Sector(1, 1024), Sector(2, 2048)};
    std::sort(bad.begin(), bad.end(),
              [](const ByteRange &a, const ByteRange &b) { return a.offset < b.offset; });
    VolumeOpeningOptions options;
    options.unread = bad.data();
    options.unreadCount = bad.size();
    ASSERT_TRUE(volume_library_set_opening_options(&options));
    HostPeer host(image.Path(), "none", "");
    const std::string number = host.InheritedNumber();
    const pid_t child = fork();
    if (child == 0)
        ReadAndEnd(number);
    close(std::stoi(number));
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    host.TakeReports();
    ASSERT_EQ(host.damages.size(), 2u);
    EXPECT_EQ(host.damages[0].path, "/closed");
    EXPECT_EQ(RangesText(host.damages[0].ranges), " 2048+512");
    EXPECT_EQ(host.damages[1].path, "/open");
    EXPECT_EQ(RangesText(host.damages[1].ranges), " 1024+512");
    EXPECT_TRUE(host.channel.HasEnded());
    EXPECT_FALSE(host.channel.MayLackReports());
}

// --- A volume that knows nothing of what failed

// Any path is a file. Reads or questions for the size fail from a number of successes on.
class ScriptedFailure : public OwnedVolume {
public:
    ScriptedFailure(int goodReads, int goodSizes) : _goodReads(goodReads), _goodSizes(goodSizes) {}

    VolumeHandle FindFirstFile(const char16_t *, VolumeFindData *) override { return nullptr; }
    bool FindNextFile(VolumeHandle, VolumeFindData *) override { return false; }
    bool FindClose(VolumeHandle) override { return true; }
    VolumeHandle OpenFile(const char16_t *, uint32_t, uint32_t, uint32_t) override { return this; }
    bool ReadFile(VolumeHandle, void *, uint32_t count, uint32_t *done) override
    {
        *done = _goodReads > 0 ? count : 0;
        return _goodReads-- > 0;
    }
    bool WriteFile(VolumeHandle, const void *, uint32_t, uint32_t *) override { return false; }
    bool SetFilePosition(VolumeHandle, uint32_t *, uint32_t *, uint32_t) override { return true; }
    bool QueryFileSize(VolumeHandle, uint32_t *, uint32_t *) override { return _goodSizes-- > 0; }
    bool CloseHandle(VolumeHandle) override { return true; }
    bool DescribeEntry(const char16_t *, VolumeEntryReport *) override { return true; }
    bool DescribeListing(VolumeHandle, VolumeListingReport *) override { return false; }
    bool VisitUnreadRanges(VolumeHandle, VolumeRangeFunction, void *) override { return true; }
    bool VisitPlaces(VolumeHandle, VolumePlaceFunction, void *) override { return false; }
    bool VisitTablesRead(VolumeRangeFunction, void *) override { return false; }
    bool IsGone() override { return _goodReads < 0; }
    bool VisitStreams(const char16_t *, VolumeStreamFunction, void *) override { return false; }
    bool OpenStream(const char16_t *, const char16_t *, VolumeHandle *) override { return false; }
    bool DescribeFileSystem(VolumeFileSystemReport *) override { return false; }
    bool DescribeUnlocking(VolumeUnlockingReport *) override { return false; }
    bool VisitRecoveryPasswords(VolumeRecoveryPasswordFunction, void *) override { return false; }
    bool VisitMasterKey(VolumeMasterKeyFunction, void *) override { return false; }

private:
    int _goodReads;
    int _goodSizes;
};

// The kinds and paths of the damage that a host hears of when a file is read twice and closed.
std::vector<std::string> HeardOf(int goodReads, int goodSizes)
{
    HostChannel host;
    EXPECT_TRUE(host.Prepare({}));
    auto channel = std::make_shared<ChildChannel>(UniqueFd(dup(host.ChildDescriptor())));
    host.CloseChildDescriptor();
    channel->Report(ChannelOpened{});
    ReportingVolume volume(std::make_unique<ScriptedFailure>(goodReads, goodSizes), channel);
    const VolumeHandle file = volume.OpenFile(u"/a", 0, 0, 0);
    char bytes[16];
    uint32_t low = 0, high = 0;
    for (int i = 0; i < 2; ++i)
        (void)volume.ReadFile(file, bytes, sizeof bytes, &low);
    (void)volume.QueryFileSize(file, &low, &high);
    EXPECT_TRUE(volume.CloseHandle(file));
    std::vector<std::string> heard;
    while (const auto report = host.Read())
        if (const auto *damage = std::get_if<ChannelDamage>(&*report))
            heard.push_back(std::to_string(static_cast<int>(damage->kind)) + damage->path);
    return heard;
}

TEST(HostOfFailingFile, HearsOfItThoughNoRangeIsKnown)
{
    using Heard = std::vector<std::string>;
    EXPECT_EQ(HeardOf(2, 1), Heard());
    EXPECT_EQ(HeardOf(0, 1), (Heard{"4", "1/a"}));
    EXPECT_EQ(HeardOf(1, 1), (Heard{"4", "1/a"}));
    EXPECT_EQ(HeardOf(2, 0), Heard{"1/a"});
}

// A file that does not open, and why.
class ClosedFile final : public ScriptedFailure {
public:
    explicit ClosedFile(VolumeObstacle obstacle) : ScriptedFailure(0, 0), _obstacle(obstacle) {}

    VolumeHandle OpenFile(const char16_t *, uint32_t, uint32_t, uint32_t) override
    {
        return nullptr;
    }
    bool DescribeEntry(const char16_t *, VolumeEntryReport *report) override
    {
        report->obstacle = _obstacle;
        return true;
    }
    bool IsGone() override { return false; }

private:
    const VolumeObstacle _obstacle;
};

bool IsHeardOf(VolumeObstacle obstacle)
{
    HostChannel host;
    EXPECT_TRUE(host.Prepare({}));
    auto channel = std::make_shared<ChildChannel>(UniqueFd(dup(host.ChildDescriptor())));
    host.CloseChildDescriptor();
    channel->Report(ChannelOpened{});
    ReportingVolume volume(std::make_unique<ClosedFile>(obstacle), channel);
    EXPECT_EQ(volume.OpenFile(u"/a", 0, 0, 0), nullptr);
    bool isHeard = false;
    while (const auto report = host.Read()) {
        if (const auto *damage = std::get_if<ChannelDamage>(&*report))
            isHeard = damage->kind == ChannelDamageKind::kFileClosed && damage->path == "/a" &&
                      damage->obstacle == static_cast<uint32_t>(obstacle);
    }
    return isHeard;
}

TEST(HostOfClosedFile, HearsOfWhateverDoesNotOpenButALink)
{
    for (auto number = static_cast<uint32_t>(VolumeObstacle::kPacked);
         number <= static_cast<uint32_t>(VolumeObstacle::kOutOfMemory); ++number) {
        const auto obstacle = static_cast<VolumeObstacle>(number);
        EXPECT_EQ(IsHeardOf(obstacle), obstacle != VolumeObstacle::kDeviceGone) << number;
    }
    EXPECT_TRUE(IsHeardOf(VolumeObstacle::kNone));
    EXPECT_FALSE(IsHeardOf(VolumeObstacle::kLink));
}

}  // namespace
}  // namespace vx
