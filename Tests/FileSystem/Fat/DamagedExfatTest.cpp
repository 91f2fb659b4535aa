// exFAT, damaged: sets of entries that do not fit their checksum, chains that break, folders of
// which a part cannot be read or makes no sense.
#include "ByteReader.h"
#include "ExfatVolumeTest.h"
#include "Listed.h"
#include "PutNumber.h"

#include <algorithm>

namespace vx {
namespace {

using Names = std::vector<std::u16string>;

// A source in which one byte is another one.
class SourceWithChange final : public ByteSource {
public:
    SourceWithChange(Source source, uint64_t at, uint8_t value)
        : _source(std::move(source)), _at(at), _value(value)
    {
    }

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (Error error = _source->ReadAt(offset, buffer, count))
            return error;
        if (_at >= offset && _at - offset < count)
            static_cast<uint8_t *>(buffer)[_at - offset] = _value;
        return {};
    }

private:
    const Source _source;
    const uint64_t _at;
    const uint8_t _value;
};

class DamagedExfat : public ExfatVolumeTest {
protected:
    static constexpr size_t kEntry = 32;
    static constexpr size_t kSector = 512;

    // Three entries and a folder in the root; the set of the second one begins at damaged.
    void AddThree()
    {
        Add(root, {u"first", 0x20, true, 100, 5, 5});
        damaged = EndOf(root);
        Add(root, {u"second", 0x20, true, 101, 6, 6});
        Add(root, {u"third", 0x10, true, 102, clusterBytes, clusterBytes});
        Add(102, {u"inside", 0x20, true, 103, 6, 6});
        Write(100, "first");
        Write(101, "second");
        Write(103, "inside");
    }

    size_t EndOf(uint32_t folder) const
    {
        size_t at = image->PlaceOf(folder);
        while (image->bytes.at(at) != 0)
            at += kEntry;
        return at;
    }

    // A folder of count sets, of three entries each, at a cluster that nothing else takes.
    static constexpr uint32_t kMany = 300;
    Names AddMany(size_t count)
    {
        Names names;
        const uint64_t size = 4 * clusterBytes;
        Add(root, {u"many", 0x10, true, kMany, size, size});
        for (size_t i = 0; i < count; ++i) {
            names.push_back(u"n" + Utf16(std::to_string(1000 + i)));
            Add(kMany, {names.back(), 0x20, true, 0, 0, 0});
        }
        return names;
    }

    Listed List(const std::u16string &pattern)
    {
        const auto listed = ListAndReport(*volume, pattern);
        EXPECT_TRUE(listed) << Utf8(pattern);
        return listed.value_or(Listed());
    }

    // Each of the names is listed or missing; nothing else is listed.
    void ExpectAllButSome(const Names &names, const Listed &listed, size_t most)
    {
        EXPECT_TRUE(
            std::includes(names.begin(), names.end(), listed.names.begin(), listed.names.end()));
        const size_t missing = names.size() - listed.names.size();
        EXPECT_LE(missing, most);
        EXPECT_EQ(listed.report.isWhole, missing == 0 && listed.report.recoveredEntries == 0);
        EXPECT_LE(listed.report.missingEntries, missing);
    }

    size_t damaged = 0;
};

TEST_F(DamagedExfat, ASetThatDoesNotFitItsChecksumIsShownAndReported)
{
    AddThree();
    image->bytes[damaged + 2] ^= 1;
    Open();
    const Listed listed = List(u"/*");
    EXPECT_EQ(listed.names, (Names{u"first", u"second", u"third"}));
    EXPECT_FALSE(listed.report.isWhole);
    EXPECT_EQ(listed.report.reason, VolumeObstacle::kDamaged);
    EXPECT_EQ(listed.report.recoveredEntries, 1u);
    EXPECT_EQ(listed.report.missingEntries, 0u);
    EXPECT_EQ(ReadWholeFile(*volume, u"/second"), "second");
    EXPECT_EQ(ObstacleOf(*volume, u"/second"), VolumeObstacle::kDamaged);
    EXPECT_EQ(ObstacleOf(*volume, u"/first"), VolumeObstacle::kNone);
}

TEST_F(DamagedExfat, AFolderWhoseSetDoesNotFitItsChecksumIsListedWithAllThatIsInIt)
{
    AddThree();
    image->bytes[damaged + 3 * kEntry + 20] ^= 1;
    Open();
    EXPECT_EQ(List(u"/*").report.recoveredEntries, 1u);
    EXPECT_EQ(ReadWholeFile(*volume, u"/third/inside"), "inside");
    EXPECT_TRUE(List(u"/third/*").report.isWhole);
}

TEST_F(DamagedExfat, ASetOfWhichNothingCanBeMadeIsReportedAsMissing)
{
    AddThree();
    image->bytes[damaged + kEntry + 3] = 200;  // a name longer than its parts
    Open();
    const Listed listed = List(u"/*");
    EXPECT_EQ(listed.names, (Names{u"first", u"third"}));
    EXPECT_FALSE(listed.report.isWhole);
    EXPECT_EQ(listed.report.missingEntries, 1u);
    EXPECT_EQ(listed.report.recoveredEntries, 0u);
}

TEST_F(DamagedExfat, ACountOfPartsThatLiesLosesNothing)
{
    AddThree();
    for (const int count : {0, 1, 3, 18, 255}) {
        image->bytes[damaged + 1] = static_cast<uint8_t>(count);
        Open();
        EXPECT_EQ(List(u"/*").names, (Names{u"first", u"second", u"third"})) << count;
        EXPECT_EQ(List(u"/*").report.recoveredEntries, 1u) << count;
    }
}

TEST_F(DamagedExfat, NoBitOfASetIsChangedUnnoticed)
{
    AddThree();
    const Source intact = SourceOf(image->Text());
    for (size_t bit = 0; bit < 3 * kEntry * 8; ++bit) {
        const size_t at = damaged + bit / 8;
        const auto value = static_cast<uint8_t>(image->bytes[at] ^ 1 << bit % 8);
        volume = FatVolumeOf(std::make_shared<SourceWithChange>(intact, at, value));
        ASSERT_TRUE(volume);
        const Listed listed = List(u"/*");
        EXPECT_FALSE(listed.report.isWhole) << bit;
        EXPECT_EQ(listed.report.missingEntries + listed.report.recoveredEntries, 1u) << bit;
        EXPECT_EQ(listed.names.size(), 2 + listed.report.recoveredEntries) << bit;
        for (const char16_t *name : {u"first", u"third"})
            EXPECT_EQ(std::count(listed.names.begin(), listed.names.end(), name), 1) << bit;
    }
}

TEST_F(DamagedExfat, AFolderGoesOnAfterASectorThatCannotBeRead)
{
    const Names names = AddMany(36);
    const size_t begin = image->PlaceOf(kMany);
    for (size_t at = begin; at < EndOf(kMany); at += kSector) {
        Open(at, at + kSector);
        const Listed listed = List(u"/many/*");
        ExpectAllButSome(names, listed, 7);
        EXPECT_LT(listed.names.size(), names.size());
        EXPECT_EQ(listed.report.reason, VolumeObstacle::kUnreadable);
        for (const auto &name : listed.names)
            EXPECT_TRUE(Opens(*volume, u"/many/" + name)) << Utf8(name);
    }
}

TEST_F(DamagedExfat, AFolderGoesOnAfterASectorOfZerosOrNoise)
{
    const Names names = AddMany(36);
    const auto intact = image->bytes;
    // What comes after zeros in the last sector looks the same as the end.
    const size_t begin = image->PlaceOf(kMany);
    const size_t last = (EndOf(kMany) - begin - 1) / kSector * kSector;
    for (size_t at = begin; at < begin + last; at += kSector) {
        for (const std::string &block : {std::string(kSector, '\0'), NoiseBytes(kSector, 3)}) {
            std::copy(block.begin(), block.end(), image->bytes.begin() + static_cast<long>(at));
            Open();
            ExpectAllButSome(names, List(u"/many/*"), 7);
            EXPECT_FALSE(List(u"/many/*").report.isWhole) << (at - begin) / kSector;
            image->bytes = intact;
        }
    }
}

TEST_F(DamagedExfat, AFileWhoseChainBreaksIsReadUpToThere)
{
    const std::string contents = NoiseBytes(4 * clusterBytes, 1);
    Add(root, {u"file", 0x20, false, 100, contents.size(), contents.size()});
    const std::vector<uint32_t> chain = {100, 200, 150, 151};
    for (size_t i = 0; i < chain.size(); ++i)
        image->Write(chain[i], contents.substr(i * clusterBytes, clusterBytes));
    for (const uint32_t nowhere : {0u, 1u, 100u, 200u, 0xFFFFFFF7u, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
        image->Chain(chain);
        image->PutNext(200, nowhere);
        Open();
        const auto read = ReadToBreak(*volume, u"/file", static_cast<uint32_t>(clusterBytes));
        ASSERT_TRUE(read);
        EXPECT_FALSE(read->isWhole);
        EXPECT_TRUE(read->bytes == contents.substr(0, 2 * clusterBytes)) << nowhere;
        EXPECT_EQ(ObstacleOf(*volume, u"/file"), VolumeObstacle::kDamaged);
        EXPECT_TRUE(List(u"/*").report.isWhole);
    }
}

TEST_F(DamagedExfat, AFileInARowThatLeavesTheVolumeIsReadUpToItsEnd)
{
    const uint32_t last = 1 + U32At(image->bytes, 92);
    const std::string contents = NoiseBytes(2 * clusterBytes, 1);
    Add(root, {u"file", 0x20, true, last - 1, 9 * clusterBytes, 9 * clusterBytes});
    Add(root, {u"far", 0x20, true, last + 1, 10, 10});
    image->Write(last - 1, contents);
    Open();
    const auto read = ReadToBreak(*volume, u"/file", static_cast<uint32_t>(clusterBytes));
    ASSERT_TRUE(read);
    EXPECT_FALSE(read->isWhole);
    EXPECT_TRUE(read->bytes == contents);
    EXPECT_EQ(ObstacleOf(*volume, u"/file"), VolumeObstacle::kDamaged);
    EXPECT_FALSE(Opens(*volume, u"/far"));
    EXPECT_EQ(ObstacleOf(*volume, u"/far"), VolumeObstacle::kDamaged);
}

TEST_F(DamagedExfat, NoFileIsLongerThanTheVolume)
{
    for (const uint64_t size : {uint64_t{1} << 50, ~uint64_t{0}}) {
        const std::u16string name = u"size " + Utf16(std::to_string(size));
        Add(root, {name, 0x20, false, 100, size, size});
        image->Chain({100, 101});
        const uint64_t most = U32At(image->bytes, 92) * uint64_t{clusterBytes};
        EXPECT_EQ(SizeOf(EntryNamed(Open(), u"/*", name)), most);
        EXPECT_EQ(ReadToBreak(*volume, u"/" + name, 512)->bytes.size(), 2 * clusterBytes);
        const VolumeHandle file = OpenForReading(*volume, u"/" + name);
        uint32_t low = 0;
        uint32_t high = 0;
        EXPECT_TRUE(volume->QueryFileSize(file, &low, &high));
        volume->CloseHandle(file);
        EXPECT_EQ(uint64_t{high} << 32 | low, most);
        EXPECT_EQ(ObstacleOf(*volume, u"/" + name), VolumeObstacle::kDamaged);
    }
}

TEST_F(DamagedExfat, CirclesOnAVolumeOfManyClustersEnd)
{
    // Numbers that would let it take as many steps as there are clusters.
    PutNumber(&image->bytes, 84, 0x7FFFFFFF, 4);
    PutNumber(&image->bytes, 92, 0xFFFFFFF0, 4);
    const uint64_t size = clusterBytes << 31;
    Add(root, {u"circle", 0x20, false, 100, size, size});
    image->Chain({100, 200, 150});
    image->PutNext(150, 200);
    Add(root, {u"itself", 0x20, false, 300, size, size});
    image->PutNext(300, 300);
    Add(root, {u"folder", 0x10, false, 300, clusterBytes << 10, clusterBytes << 10});
    Add(300, {u"inside", 0x20, true, 0, 0, 0});
    Open();
    EXPECT_EQ(ReadToBreak(*volume, u"/circle", 512)->bytes.size(), 3 * clusterBytes);
    EXPECT_EQ(ReadToBreak(*volume, u"/itself", 512)->bytes.size(), clusterBytes);
    EXPECT_EQ(List(u"/folder/*").names, Names{u"inside"});
    EXPECT_FALSE(List(u"/folder/*").report.isWhole);
}

TEST_F(DamagedExfat, AFolderWhoseChainBreaksIsListedUpToThere)
{
    Add(root, {u"folder", 0x10, false, 100, 2 * clusterBytes, 2 * clusterBytes});
    image->Chain({100});
    Add(100, {u"inside", 0x20, true, 0, 0, 0});
    image->PutNext(root, root);
    Open();
    for (const char16_t *pattern : {u"/*", u"/folder/*"}) {
        const Listed listed = List(pattern);
        EXPECT_EQ(listed.names.size(), 1u);
        EXPECT_FALSE(listed.report.isWhole);
        EXPECT_EQ(listed.report.reason, VolumeObstacle::kDamaged);
    }
    EXPECT_EQ(ObstacleOf(*volume, u"/folder"), VolumeObstacle::kDamaged);
}

TEST_F(DamagedExfat, ATableThatCannotBeReadLeavesFilesInARowWhole)
{
    AddThree();
    Add(root, {u"in pieces", 0x20, false, 200, 2 * clusterBytes, 2 * clusterBytes});
    image->Write(200, std::string(clusterBytes, 'x'));
    const size_t table = size_t{U32At(image->bytes, 80)} << image->bytes[108];
    Open(table, table + kSector * 64);
    EXPECT_EQ(ReadWholeFile(*volume, u"/second"), "second");
    EXPECT_EQ(ReadWholeFile(*volume, u"/third/inside"), "inside");
    EXPECT_EQ(ReadToBreak(*volume, u"/in pieces", 512)->bytes, std::string(clusterBytes, 'x'));
    EXPECT_EQ(ObstacleOf(*volume, u"/in pieces"), VolumeObstacle::kUnreadable);
    EXPECT_EQ(List(u"/*").report.reason, VolumeObstacle::kUnreadable);
}

}  // namespace
}  // namespace vx
