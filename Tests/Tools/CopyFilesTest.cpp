// The workers of an export between a volume that may fail and a folder of this machine.
#include "CopyCursor.h"
#include "CopyWorkers.h"
#include "PlanBuilder.h"
#include "ScriptedVolume.h"
#include "TemporaryFolder.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <sys/stat.h>

namespace vx {
namespace {

constexpr size_t kMiB = 1 << 20;

// Remembers what it is asked and told.
class Witness final : public ArrivalSink {
public:
    class Sum final : public ChunkHasher {
    public:
        void Begin() override { _sum = 0; }
        void Add(const void *bytes, size_t count) override
        {
            for (size_t i = 0; i < count; ++i)
                _sum = _sum * 31 + static_cast<const unsigned char *>(bytes)[i];
        }
        FileHash End() override
        {
            FileHash hash{};
            for (size_t i = 0; i < sizeof(_sum); ++i)
                hash[i] = static_cast<uint8_t>(_sum >> (8 * i));
            return hash;
        }
        static FileHash Of(const std::string &bytes)
        {
            Sum sum;
            sum.Begin();
            sum.Add(bytes.data(), bytes.size());
            return sum.End();
        }

    private:
        uint64_t _sum = 0;
    };

    bool IsAlreadyThere(ExportPlan::Number, int, const std::string &name) override
    {
        return _there.count(name) != 0;
    }
    std::unique_ptr<ChunkHasher> MakeHasher() override { return std::make_unique<Sum>(); }
    int BeforeItIsPlaced(int file) override
    {
        struct stat found;
        return fstat(file, &found) == 0 && found.st_nlink == 1 ? _refusal : EBADF;
    }
    void Arrived(const ArrivedFile &file) override
    {
        struct stat found;
        const std::lock_guard<std::mutex> lock(_mutex);
        EXPECT_EQ(fstatat(file.folder, file.name.c_str(), &found, 0), 0);
        EXPECT_EQ(found.st_size, file.size);
        hashes[file.path] = *file.hash;
        isWhole[file.path] = file.isWhole;
    }

    std::map<std::string, FileHash> hashes;
    std::map<std::string, bool> isWhole;
    std::set<std::string> _there;
    int _refusal = 0;

private:
    std::mutex _mutex;
};

class CopyFilesTest : public ::testing::Test {
protected:
    using State = Arrival::State;

    void Copy()
    {
        std::string error;
        ASSERT_TRUE(PlanBuilder(_volume, _reports).Build({}, &_planned, &error)) << error;
        DestinationTree tree("");
        ASSERT_TRUE(tree.Open(_destination));
        const PlanNames names(_planned.plan, DestinationTraits());
        const SourceFiles sources("", {});
        ArrivalPlaces places(_planned.plan, tree, names, sources);
        ExportDates dates(_planned.plan, true);
        CopyProgress progress("Copying", _planned.plan, _planned.bytes, CopyProgress::Clock::now());
        ExportStop stop(_volumeOfTool);
        _arrivals = std::make_unique<Arrivals>(_planned.plan);
        CopyJob job{_planned.plan, _volumeOfTool, _reports, places,     _witness,
                    dates,         progress,      stop,     *_arrivals, false};
        CopyFiles(job, _planned.files);
        _stop = stop.Why();
    }
    Arrival ArrivalOf(const std::u16string &path) const
    {
        const ExportPlan &plan = _planned.plan;
        for (ExportPlan::Number n = 0; n != ExportPlan::kNone; n = plan.Next(n)) {
            if (plan.PathOf(n) == path)
                return _arrivals->At(n);
        }
        ADD_FAILURE() << "not planned";
        return {};
    }
    std::string Written(const std::string &path) const
    {
        return _folder.ReadFile("destination/" + path);
    }
    size_t NamesInDestination() const
    {
        size_t count = 0;
        DIR *folder = opendir(_destination.c_str());
        while (const dirent *entry = readdir(folder))
            count += std::string(entry->d_name) != "." && std::string(entry->d_name) != "..";
        closedir(folder);
        return count;
    }

    TemporaryFolder _folder;
    const std::string _destination = _folder.MakeFolder("destination");
    ScriptedVolume _volume;
    VolumeReports _reports{nullptr, _volume};
    ObservedVolume _volumeOfTool{_volume, _reports};
    PlannedExport _planned;
    Witness _witness;
    std::unique_ptr<Arrivals> _arrivals;
    ExportStop::Reason _stop = ExportStop::Reason::kNone;
};

TEST_F(CopyFilesTest, ManyFilesArriveWholeThroughSeveralWorkers)
{
    for (int folder = 0; folder < 20; ++folder) {
        ScriptedEntry &in = _volume.Root().Folder(u"f" + std::u16string(1, u'a' + folder));
        for (int file = 0; file < 50; ++file)
            in.File(std::u16string(1, u'A' + file % 26) + std::u16string(1, u'a' + file / 26),
                    static_cast<uint64_t>(folder * 97 + file * 13));
    }
    _volume.Root().File(u"large", 9 * kMiB + 5);
    Copy();
    EXPECT_EQ(_stop, ExportStop::Reason::kNone);
    EXPECT_EQ(_witness.hashes.size(), 1001u);
    const ExportPlan &plan = _planned.plan;
    for (ExportPlan::Number n = 0; n != ExportPlan::kNone; n = plan.Next(n)) {
        if (plan.At(n).IsFolder())
            continue;
        const std::u16string wide = plan.PathOf(n);
        const std::string path(wide.begin() + 1, wide.end());
        ScriptedEntry *entry = _volume.Root().Find(wide);
        const std::string bytes = entry->Read(0, entry->Size());
        ASSERT_TRUE(Written(path) == bytes) << path;
        ASSERT_TRUE(_witness.hashes.at(path) == Witness::Sum::Of(bytes)) << path;
        ASSERT_EQ(_arrivals->At(n).state, State::kArrived) << path;
    }
    EXPECT_EQ(_volume.OpenHandles(), 0u);
    EXPECT_EQ(NamesInDestination(), 21u);
}

// The volume leaves the buffer as it was: with the bytes of the file before, if nobody cares.
TEST_F(CopyFilesTest, AReadThatFailsWithoutAWordLeavesZerosAndNoBytesOfAnotherFile)
{
    _volume.Root().File(u"a", std::string(100000, 's'));
    _volume.Root().File(u"b", std::string(50000, 'b'));
    _volume.FromCall(VolumeOperation::kReadFile, 2, Fault::kFail);
    Copy();
    EXPECT_EQ(ArrivalOf(u"/b").state, State::kDamaged);
    EXPECT_TRUE(Written("b") == std::string(50000, '\0'));
    EXPECT_FALSE(_witness.isWhole.at("b"));
}

TEST_F(CopyFilesTest, AReadThatGivesTooLittleIsNotFilledFromAnotherFile)
{
    _volume.Root().File(u"a", std::string(100000, 's'));
    _volume.Root().File(u"b", std::string(50000, 'b'));
    _volume.FromCall(VolumeOperation::kReadFile, 2, Fault::kShorten);
    Copy();
    EXPECT_EQ(ArrivalOf(u"/b").state, State::kDamaged);
    EXPECT_EQ(Written("b").find('s'), std::string::npos);
    EXPECT_EQ(Written("b").size(), 50000u);
}

TEST_F(CopyFilesTest, WhatFollowsAChunkThatFailedIsStillRead)
{
    _volume.Root().File(u"a", 10 * kMiB);
    _volume.AtCall(VolumeOperation::kReadFile, 2, Fault::kFail);
    _volume.AtCall(VolumeOperation::kReadFile, 3, Fault::kFail);
    Copy();
    std::string expected = _volume.Root().Find(u"/a")->Read(0, 10 * kMiB);
    expected.replace(4 * kMiB, 4 * kMiB, std::string(4 * kMiB, '\0'));
    EXPECT_TRUE(Written("a") == expected);
    EXPECT_EQ(ArrivalOf(u"/a").reason, "the volume could not read all of it; the copy is damaged");
}

TEST_F(CopyFilesTest, WhatIsAlreadyThereIsNeitherOpenedNorTouched)
{
    _volume.Root().File(u"there", 5);
    _volume.Root().File(u"missing", 5);
    _folder.WriteFile("destination/there", "older");
    _witness._there = {"there"};
    Copy();
    EXPECT_EQ(ArrivalOf(u"/there").state, State::kAlreadyThere);
    EXPECT_EQ(ArrivalOf(u"/missing").state, State::kArrived);
    EXPECT_EQ(Written("there"), "older");
    EXPECT_EQ(_volume.Count(VolumeOperation::kOpenFile), 1u);
}

TEST_F(CopyFilesTest, AFileThatMustNotTakeItsPlaceLeavesNothing)
{
    _volume.Root().File(u"a", 5);
    _witness._refusal = EIO;
    Copy();
    EXPECT_EQ(ArrivalOf(u"/a").state, State::kFailed);
    EXPECT_EQ(ArrivalOf(u"/a").reason,
              "could not be written after 5 of 5 bytes: Input/output error");
    EXPECT_EQ(NamesInDestination(), 0u);
    EXPECT_TRUE(_witness.hashes.empty());
}

// Each would be the other's hidden name while it arrives.
TEST_F(CopyFilesTest, FilesNamedLikeArrivingOnesAllArriveWhole)
{
    // Neighbours are copied by one worker, one after the other.
    constexpr int kTogether = static_cast<int>(CopyCursor::kMostTogether);
    for (int i = 0; i < 40 * kTogether; ++i) {
        const std::string number =
            std::to_string(1000 + i / 2 / kTogether * kTogether + i % kTogether);
        const bool isHidden = i / kTogether % 2 == 1;
        const std::string name = isHidden ? "." + number + ".partial" : number;
        _volume.Root().File(std::u16string(name.begin(), name.end()), name);
    }
    Copy();
    EXPECT_EQ(NamesInDestination(), 40 * CopyCursor::kMostTogether);
    for (const auto &hash : _witness.hashes)
        ASSERT_EQ(Written(hash.first), hash.first);
}

// A folder that is a link to the other one makes two paths meet.
TEST_F(CopyFilesTest, OfTwoFilesWithOnePlaceOneArrivesAndTheOtherIsAFailure)
{
    _folder.MakeFolder("destination/A");
    _folder.MakeLink("destination/a", "A");
    constexpr int kTogether = static_cast<int>(CopyCursor::kMostTogether);
    for (int i = 0; i < 40 * kTogether; ++i) {
        const bool isSecond = i / kTogether % 2 == 1;
        const std::string path = (isSecond ? "a\\" : "A\\") +
                                 std::to_string(i / 2 / kTogether * kTogether + i % kTogether);
        _volume.Root().File(std::u16string(path.begin(), path.end()), path);
    }
    Copy();
    for (int i = 0; i < 20 * kTogether; ++i) {
        const std::string number = std::to_string(i);
        const std::u16string wide(number.begin(), number.end());
        const bool isFirst = ArrivalOf(u"/A\\" + wide).state == State::kArrived;
        const Arrival other = ArrivalOf((isFirst ? u"/a\\" : u"/A\\") + wide);
        EXPECT_EQ(other.state, State::kFailed);
        EXPECT_EQ(other.reason.rfind("its place is taken by /", 0), 0u) << other.reason;
        EXPECT_EQ(Written("A/" + number), (isFirst ? "A\\" : "a\\") + number);
    }
}

TEST_F(CopyFilesTest, TheSizeOfTheOpenedFileCounts)
{
    _volume.Root().File(u"grown", 20).CatalogueSize(10);
    Copy();
    EXPECT_EQ(Written("grown").size(), 20u);
    EXPECT_EQ(ArrivalOf(u"/grown").size, 20);
}

TEST_F(CopyFilesTest, AFileOfUnknownSizeIsDamaged)
{
    _volume.Root().File(u"a", 20);
    _volume.AtCall(VolumeOperation::kQueryFileSize, 1, Fault::kFail);
    Copy();
    EXPECT_EQ(ArrivalOf(u"/a").state, State::kDamaged);
}

}  // namespace
}  // namespace vx
