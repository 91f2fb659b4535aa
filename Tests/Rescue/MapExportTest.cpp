// volume-export with maps of ddrescue, and on disks that fail slowly.
#include "DiskWriter.h"
#include "FaultPlan.h"
#include "FolderSnapshot.h"
#include "RescueMap.h"
#include "RescueMapWriter.h"
#include "ToolRun.h"
#include "VolumeShelf.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace vx {
namespace {

using Words = std::vector<std::string>;

constexpr uint64_t kSector = 512;
constexpr uint64_t kMebibyte = 1 << 20;
constexpr unsigned kSlow = 400;  // milliseconds

std::string BytesOf(const std::string &path)
{
    std::ostringstream bytes;
    bytes << std::ifstream(path, std::ios::binary).rdbuf();
    return bytes.str();
}

struct Ended {
    int status = 0;
    std::string output;
    std::string errors;
};

Ended RunIn(const std::string &program, const Words &words, const std::string &folder)
{
    ToolRun::Settings settings;
    settings.folder = folder;
    ToolRun run(program, words, settings);
    Ended ended;
    ended.status = run.Wait();
    ended.output = run.Output();
    ended.errors = run.Errors();
    return ended;
}

class MapExport : public testing::Test {
protected:
    // The volume of this name; skips the test if it cannot be made.
    void Take(const std::string &name)
    {
        volume = VolumeShelf::Get().VolumeOf(name);
        if (volume == nullptr)
            GTEST_SKIP() << "a program is missing that makes it";
    }

    Words CommandFor(const std::string &image, const Words &more) const
    {
        Words words = {"-s", "KILL", "100", "env"};
        if (!faults.empty())
            words.insert(words.end(), {"LD_PRELOAD=" VX_FAULTY_CALLS, "VX_FAULTS=" + faults,
                                       "ASAN_OPTIONS=verify_asan_link_order=0:exitcode=77"});
        words.emplace_back(VX_TOOL);
        if (volume->unlockKind != "none")
            words.insert(words.end(), {"--unlock", volume->unlockKind, volume->secret});
        words.insert(words.end(), more.begin(), more.end());
        const auto path = std::find(words.begin(), words.end(), "VOLUME");
        *path = image;
        return words;
    }

    // more: the arguments after the unlocking, with VOLUME in place of the image.
    Ended Export(const std::string &image, const Words &more) const
    {
        return RunIn("/usr/bin/timeout", CommandFor(image, more), folder.Path());
    }

    void Plan(const FaultPlan &plan)
    {
        faults = folder.At("faults");
        plan.Save(faults, volume->parts, folder.At("log"));
    }

    // A map in which these bytes of the disk are marked as bad.
    void WriteMapWithout(const ByteRange &lost)
    {
        std::string error;
        const uint64_t size = BytesOf(volume->path).size();
        const uint64_t end = lost.offset + lost.length;
        ASSERT_TRUE(
            WriteRescueMap(folder.At("map"), {{0, lost.offset}, {end, size - end}}, size, &error))
            << error;
    }

    void ExpectExported(const std::string &to, const Words &paths) const
    {
        for (const std::string &path : paths)
            EXPECT_TRUE(BytesOf(folder.At(to) + path) == volume->File(path)->Contents()) << path;
    }

    const TemporaryFolder folder{};
    const RescueVolume *volume = nullptr;
    std::string faults;
};

class WrittenMaps : public MapExport, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override
    {
        Take(GetParam());
        if (access("/usr/bin/ddrescue", X_OK) != 0)
            GTEST_SKIP() << "ddrescue is not installed";
    }

    // Exports from the image, has ddrescue fetch what the written map names into a copy, and
    // exports from that by ddrescue's own map, which forbids everything else.
    void ExpectDomainIsEnough(const std::string &image, bool isDry = false)
    {
        Words chosen = {kVictim, kMiddling};
        if (volume->File(kPacked) != nullptr)
            chosen.insert(chosen.end(), {kPacked, kSparse});
        Words first = {"--to", "first", "--write-map", "domain", "VOLUME"};
        if (isDry)
            first.insert(first.begin(), "--dry-run");
        Words second = {"--to", "second", "--map", "map", "VOLUME"};
        for (Words *words : {&first, &second})
            words->insert(words->end(), chosen.begin(), chosen.end());

        const Ended whole = Export(image, first);
        ASSERT_EQ(whole.status, 0) << whole.output << whole.errors;
        const Ended fetched =
            RunIn("/usr/bin/ddrescue", {"-q", "--domain-mapfile=domain", image, "copy", "map"},
                  folder.Path());
        ASSERT_EQ(fetched.status, 0) << fetched.errors;
        const Ended again = Export("copy", second);
        EXPECT_EQ(again.status, 0) << again.output << again.errors;
        EXPECT_EQ(again.errors.find("zeros"), std::string::npos) << again.errors;
        if (isDry)
            EXPECT_NE(access(folder.At("first").c_str(), F_OK), 0);
        else
            ExpectExported("first", chosen);
        ExpectExported("second", chosen);
        std::string error;
        const auto map = RescueMap::Read(folder.At("map"), &error);
        ASSERT_TRUE(map) << error;
        EXPECT_GT(map->rescuedBytes, 0u);
        EXPECT_LT(map->rescuedBytes, BytesOf(folder.At("copy")).size() / 2);
    }
};

TEST_P(WrittenMaps, WhatDdrescueFetchesByThemIsEnough)
{
    ExpectDomainIsEnough(volume->path);
}

TEST_P(WrittenMaps, ThoseOfADiskWithPartitionsAndWithoutAnExportAreToo)
{
    constexpr size_t kFirst = 2048;
    const std::string bytes = BytesOf(volume->path);
    DiskWriter disk(2 * kFirst + bytes.size() / kSector);
    disk.PutMbr(0, 0, 7, kFirst, static_cast<uint32_t>(bytes.size() / kSector));
    disk.Bytes().replace(kFirst * kSector, bytes.size(), bytes);
    folder.WriteFile("disk", disk.Bytes());
    ExpectDomainIsEnough("disk", true);
}

INSTANTIATE_TEST_SUITE_P(Disks, WrittenMaps,
                         testing::Values("NtfsRaw", "NtfsXts128", "NtfsDiffuser", "Fat16Raw",
                                         "Fat32Xts256", "ExfatRaw", "ExfatCbc128"),
                         [](const auto &info) { return std::string(info.param); });

using WrittenMapsOfNtfs = WrittenMaps;

// All records of the volume are searched for the entries, and are needed then.
TEST_P(WrittenMapsOfNtfs, WhatDdrescueFetchesOfADamagedFolderIsEnough)
{
    std::string bytes = BytesOf(volume->path);
    bytes.replace(volume->landmarks.at("entry").from, kSector, kSector, '\xee');
    folder.WriteFile("image", bytes);
    EXPECT_EQ(Export("image", {"--to", "whole", "VOLUME", "/Many"}).status, 1);
    ExpectDomainIsEnough("image");
}

INSTANTIATE_TEST_SUITE_P(Disks, WrittenMapsOfNtfs, testing::Values("NtfsRaw", "NtfsXts128"),
                         [](const auto &info) { return std::string(info.param); });

TEST_F(MapExport, StreamsAreNeededWhenTheyAreExported)
{
    if (!CanMountNtfs() || access("/usr/bin/ddrescue", X_OK) != 0)
        GTEST_SKIP() << "ddrescue is not installed, or an NTFS image cannot be mounted here";
    Take("NtfsRaw");
    const TestImage image;
    const std::string stream = NoiseBytes(100000, 5);
    const std::string from = image.Folder().WriteFile("from", stream);
    ASSERT_TRUE(image.MakeNtfs(16));
    ASSERT_TRUE(image.RunInNtfs("echo data > file && cat '" + from + "' > file:stream"));
    const Words first = {"--to",        "first",  "--streams", "--dry-run",
                         "--write-map", "domain", "VOLUME"};
    ASSERT_EQ(Export(image.Path(), first).status, 0);
    const Ended fetched =
        RunIn("/usr/bin/ddrescue", {"-q", "--domain-mapfile=domain", image.Path(), "copy", "map"},
              folder.Path());
    ASSERT_EQ(fetched.status, 0) << fetched.errors;
    const Ended ended = Export("copy", {"--to", "second", "--streams", "--map", "map", "VOLUME"});
    EXPECT_EQ(ended.status, 0) << ended.output << ended.errors;
    EXPECT_TRUE(BytesOf(folder.At("second/file:stream")) == stream);
}

TEST_F(MapExport, FilesOnUnreadAreasAreNamedBeforeTheExportAndGetZeros)
{
    Take("NtfsXts128");
    const auto spot = volume->SpotOf(kLarge, 5 * kMebibyte);
    ASSERT_TRUE(spot);
    WriteMapWithout({spot->from, kSector});
    const Ended ended =
        Export(volume->path, {"--to", "to", "--map", "map", "VOLUME", kLarge, kMiddling});
    EXPECT_EQ(ended.status, 1);
    const size_t named = ended.errors.find("1 file lies in part on what the map marks as not "
                                           "read, and gets zeros there:\n  /large.bin\n");
    EXPECT_LT(named, ended.errors.find("Exporting 2 files")) << ended.errors;
    EXPECT_NE(ended.output.find("/large.bin: "), std::string::npos) << ended.output;
    ExpectExported("to", {kMiddling});

    const std::string copy = BytesOf(folder.At("to") + kLarge);
    std::string expected = volume->File(kLarge)->Contents();
    ASSERT_EQ(copy.size(), expected.size());
    const LostBytes lost = volume->LostWith(*spot);
    ASSERT_EQ(lost.size(), 1u);
    for (size_t i = 0; i < expected.size(); ++i) {
        if (lost.begin()->second.Holds(i))
            expected[i] = '\0';
    }
    EXPECT_TRUE(copy == expected);
    EXPECT_NE(expected, volume->File(kLarge)->Contents());
}

TEST_F(MapExport, AFolderWhoseRecordsAreNotReadIsNamed)
{
    Take("Fat16Raw");
    const Spot entry = volume->landmarks.at("entry");
    WriteMapWithout({entry.from, kSector});
    const Ended ended = Export(volume->path, {"--to", "to", "--map", "map", "VOLUME"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_NE(ended.errors.find("Not read whole, since records on the disk are missing: 1 file or "
                                "folder:\n  /Many\n"),
              std::string::npos)
        << ended.errors;
}

TEST_F(MapExport, AMapOfTheWholeImageChangesNothing)
{
    Take("ExfatRaw");
    std::string error;
    const uint64_t size = BytesOf(volume->path).size();
    ASSERT_TRUE(WriteRescueMap(folder.At("map"), {{0, size}}, size, &error)) << error;
    const Ended ended = Export(volume->path, {"--to", "to", "--map", "map", "VOLUME"});
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_EQ(ended.errors.find("map"), std::string::npos) << ended.errors;
}

TEST_F(MapExport, AMapDoesNotFitAnImageOfAnotherForm)
{
    Take("NtfsE01");
    WriteMapWithout({0, kSector});
    for (const Words &words : {Words{"--to", "to", "--map", "map", "VOLUME"},
                               Words{"--to", "to", "--write-map", "map", "VOLUME"}}) {
        const Ended ended = Export(volume->path, words);
        EXPECT_EQ(ended.status, 3);
        EXPECT_NE(ended.errors.find("a map only fits a disk or a raw image of one: it is an E01"),
                  std::string::npos)
            << ended.errors;
    }
}

TEST_F(MapExport, AMapThatIsNoneIsAUsageError)
{
    Take("ExfatRaw");
    folder.WriteFile("map", "0 ? 1\n0 512 +\n256 512 -\n");
    const Ended ended = Export(volume->path, {"--to", "to", "--map", "map", "VOLUME"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_NE(ended.errors.find("the map map is not a map of ddrescue: line 3: the area overlaps"),
              std::string::npos)
        << ended.errors;
    EXPECT_NE(access(folder.At("to").c_str(), F_OK), 0);
}

TEST_F(MapExport, AMapIsNotWrittenOverWhatTheExportReads)
{
    Take("ExfatRaw");
    const std::string bytes = BytesOf(volume->path);
    folder.WriteFile("image", bytes);
    WriteMapWithout({0, 1});
    for (const std::string file : {"image", "map"}) {
        const std::string before = folder.ReadFile(file);
        const Ended ended = Export(
            "image", {"--to", "to", "--map", "map", "--write-map", "./" + file, "VOLUME", kChunk});
        EXPECT_EQ(ended.status, 2);
        EXPECT_NE(ended.errors.find("is read by this export"), std::string::npos) << ended.errors;
        EXPECT_TRUE(folder.ReadFile(file) == before) << file;
    }
}

// How often the first sector of a bad place was read.
size_t ReadsOf(const std::string &log, const Spot &spot)
{
    const auto reads = FaultPlan::ReadLog(log);
    return static_cast<size_t>(
        std::count_if(reads.begin(), reads.end(),
                      [&](const FailedRead &read) { return read.offset == spot.from; }));
}

TEST_F(MapExport, RetriesAreCounted)
{
    Take("NtfsRaw");
    const auto spot = volume->SpotOf(kLarge, 5 * kMebibyte);
    ASSERT_TRUE(spot);
    FaultPlan plan;
    plan.Bad(*spot, EIO);
    Plan(plan);
    size_t usual = 0;
    for (const size_t retries : {0, 3, 10}) {
        (void)unlink(folder.At("log").c_str());
        const Ended ended =
            Export(volume->path, {"--to", "to" + std::to_string(retries), "--retries",
                                  std::to_string(retries), "VOLUME", kLarge});
        EXPECT_EQ(ended.status, 1) << ended.errors;
        const size_t reads = ReadsOf(folder.At("log"), *spot);
        usual = retries == 0 ? reads : usual;
        EXPECT_EQ(reads, usual + retries);
    }
    EXPECT_GT(usual, 0u);
}

TEST_F(MapExport, ASectorThatComesBackIsReadWithRetries)
{
    Take("NtfsRaw");
    const auto spot = volume->SpotOf(kLarge, 5 * kMebibyte);
    ASSERT_TRUE(spot);
    FaultPlan plan;
    plan.Bad(*spot, EIO, 4);
    Plan(plan);
    EXPECT_EQ(Export(volume->path, {"--to", "without", "VOLUME", kLarge}).status, 1);
    const Ended ended = Export(volume->path, {"--to", "with", "--retries", "5", "VOLUME", kLarge});
    EXPECT_EQ(ended.status, 0) << ended.output << ended.errors;
    ExpectExported("with", {kLarge});
}

class SlowDisk : public MapExport, public testing::WithParamInterface<int> {};

// A zone of 6 MiB, of which each read takes a time: 96 reads of 64 KiB would take half a minute.
TEST_P(SlowDisk, ASlowZoneIsSkippedReportedAndDoneInTime)
{
    Take("NtfsRaw");
    const auto begin = volume->SpotOf(kLarge, kMebibyte);
    const auto end = volume->SpotOf(kLarge, 7 * kMebibyte);
    ASSERT_TRUE(begin && end && end->from - begin->from == 6 * kMebibyte);
    FaultPlan plan;
    plan.Bad({begin->part, begin->from, end->from}, GetParam(), FaultPlan::kAlways, kSlow);
    Plan(plan);
    const auto start = std::chrono::steady_clock::now();
    const Ended ended =
        Export(volume->path, {"--to", "to", "--skip-slow", "0.25", "VOLUME", kLarge, kMiddling});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(ended.status, 1);
    EXPECT_NE(ended.output.find("/large.bin: "), std::string::npos) << ended.output;
    ExpectExported("to", {kMiddling});
    const std::string copy = BytesOf(folder.At("to") + kLarge);
    const std::string expected = volume->File(kLarge)->Contents();
    ASSERT_EQ(copy.size(), expected.size());
    uint64_t lost = 0;
    for (size_t i = 0; i < copy.size(); ++i) {
        ASSERT_TRUE(copy[i] == expected[i] || copy[i] == '\0') << i;
        lost += copy[i] != expected[i] ? 1 : 0;
    }
    EXPECT_GT(lost, 2 * kMebibyte);
    EXPECT_TRUE(copy.compare(0, kMebibyte - 65536, expected, 0, kMebibyte - 65536) == 0);
}

INSTANTIATE_TEST_SUITE_P(Reads, SlowDisk, testing::Values(0, EIO), [](const auto &info) {
    return std::string(info.param == 0 ? "ThatSucceed" : "ThatFail");
});

}  // namespace
}  // namespace vx
