// Packed files on NTFS volumes: written here, where their streams lie in every way that a stream
// can, and by ntfs-3g.
#include "ByteReader.h"
#include "CarefulSource.h"
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "PackedContents.h"
#include "PutNumber.h"
#include "ReportedVolume.h"
#include "Salvaged.h"
#include "SourceWithHole.h"
#include "TestImage.h"
#include "WimChunks.h"

#include <algorithm>

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;
using Runs = std::vector<NtfsWriter::Run>;

constexpr uint64_t kFile = NtfsWriter::kFirstOrdinary;
constexpr uint64_t kMore = kFile + 8;
constexpr uint64_t kFree = NtfsWriter::kFirstFree;
constexpr uint64_t kCluster = NtfsWriter::kClusterBytes;
const std::u16string kStream(kWofStreamName);

ByteView ViewOf(const std::string &bytes)
{
    return {reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()};
}

uint32_t NumberOf(const PackedForm &form)
{
    return static_cast<uint32_t>(form.packing);
}

// A volume with one file in its root.
class PackedVolume : public testing::Test {
protected:
    void SetUp() override
    {
        ntfs.PutFolder(NtfsWriter::kRoot, {NtfsWriter::IndexRoot({NtfsWriter::Name(kFile, u"f"),
                                                                  NtfsWriter::Last()})});
    }

    // Puts the bytes into the clusters of the runs, one after the other.
    void PutInRuns(const Bytes &bytes, const Runs &runs)
    {
        size_t at = 0;
        for (const NtfsWriter::Run &run : runs) {
            const ByteView piece = ByteView(bytes).From(at).First(run.length * kCluster);
            if (run.cluster != 0 && piece.size > 0)
                ntfs.PutBytes(run.cluster, std::string(piece.data, piece.data + piece.size));
            at += run.length * kCluster;
        }
    }

    void PutFile(const Bytes &stream, uint64_t size, const PackedForm &form, const Runs &runs)
    {
        PutInRuns(stream, runs);
        ntfs.PutFile(kFile,
                     {NtfsWriter::Hole(size),
                      NtfsWriter::InRuns({NtfsType::kData, kStream, 0, stream.size(), runs, 0}),
                      NtfsWriter::PackedPoint(NumberOf(form))});
    }

    OwnedVolume &Open()
    {
        volume = NtfsVolumeOf(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
        EXPECT_TRUE(volume);
        return *volume;
    }

    void ExpectContents(const std::string &contents)
    {
        EXPECT_TRUE(ReadWholeFile(Open(), u"/f") == contents);
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kNone);
        EXPECT_EQ(SizeOf(EntryNamed(*volume, u"/*", u"f")), contents.size());
    }

    void ExpectObstacle(VolumeObstacle obstacle)
    {
        EXPECT_FALSE(Opens(Open(), u"/f"));
        EXPECT_EQ(ObstacleOf(*volume, u"/f"), obstacle);
    }

    NtfsWriter ntfs{1024};
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(PackedVolume, AStreamInPiecesIsRead)
{
    for (const PackedForm &form : kPackedForms) {
        const std::string contents = ContentsOf(ContentsKind::kMixed, 150001);
        const Bytes stream = WimChunks(form).Stream(ViewOf(contents));
        PutFile(stream, contents.size(), form,
                {{kFree + 300, 7}, {kFree + 100, 90}, {kFree + 320, 1}, {kFree + 330, 60}});
        ASSERT_LT(stream.size(), 158 * kCluster);
        ExpectContents(contents);
    }
}

TEST_F(PackedVolume, AStreamInItsRecordIsRead)
{
    for (const PackedForm &form : kPackedForms) {
        const std::string contents = ContentsOf(ContentsKind::kZeros, 4001);
        const Bytes stream = WimChunks(form).Stream(ViewOf(contents));
        ntfs.PutFile(kFile, {NtfsWriter::Hole(contents.size()),
                             NtfsWriter::Resident(NtfsType::kData, stream, kStream),
                             NtfsWriter::PackedPoint(NumberOf(form))});
        ExpectContents(contents);
    }
}

TEST_F(PackedVolume, AStreamInOtherRecordsIsRead)
{
    const PackedForm &form = kPackedForms[1];
    const std::string contents = ContentsOf(ContentsKind::kNoise, 40000);
    const Bytes stream = WimChunks(form).Stream(ViewOf(contents));
    const Runs first = {{kFree, 20}};
    const Runs second = {{kFree + 50, 30}};
    PutInRuns(stream, {first[0], second[0]});
    const Bytes list =
        NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kData, {}, 0, kFile),
                            NtfsWriter::Listed(NtfsType::kData, kStream, 0, kMore),
                            NtfsWriter::Listed(NtfsType::kData, kStream, 20, kMore + 1),
                            NtfsWriter::Listed(NtfsType::kReparsePoint, {}, 0, kMore + 1)});
    ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kAttributeList, list),
                         NtfsWriter::Hole(contents.size())});
    ntfs.PutFile(kMore, {NtfsWriter::InRuns({NtfsType::kData, kStream, 0, stream.size(), first})},
                 kFile);
    ntfs.PutFile(kMore + 1,
                 {NtfsWriter::InRuns({NtfsType::kData, kStream, 20, 0, second}),
                  NtfsWriter::PackedPoint(NumberOf(form))},
                 kFile);
    ExpectContents(contents);
    // Without the second part what it holds is lost: the chunks are stored as they are.
    ntfs.PutFile(kMore + 1, {NtfsWriter::PackedPoint(NumberOf(form))}, kFile);
    const uint64_t left = 20 * kCluster - 4 * 4;  // after the table
    ExpectLost(Salvage(Open(), u"/f"), contents, {{left, contents.size() - left}});
    EXPECT_EQ(ObstacleOf(*volume, u"/f"), VolumeObstacle::kDamaged);
}

TEST_F(PackedVolume, AHoleInAStreamIsZeros)
{
    const PackedForm &form = kPackedForms[0];
    // A stored chunk of which two clusters are a hole.
    std::string contents = ContentsOf(ContentsKind::kNoise, form.chunkBytes);
    contents.replace(kCluster, 2 * kCluster, 2 * kCluster, '\0');
    const Bytes stream(contents.begin(), contents.end());
    PutFile(stream, contents.size(), form, {{kFree, 1}, {0, 2}, {kFree + 1, 1}});
    ExpectContents(contents);
}

TEST_F(PackedVolume, AnEmptyFileIsEmpty)
{
    ntfs.PutFile(kFile, {NtfsWriter::Data(""), NtfsWriter::PackedPoint(0)});
    ExpectContents("");
}

TEST_F(PackedVolume, ABadSectorLosesTheChunksThatTouchItAndNoOther)
{
    for (const PackedForm &form : kPackedForms) {
        const std::string contents = ContentsOf(ContentsKind::kText, 12 * form.chunkBytes + 5);
        const Bytes stream = WimChunks(form).Stream(ViewOf(contents));
        const uint64_t clusters = stream.size() / kCluster + 1;
        ASSERT_LT(kFree + clusters, 1024u);
        PutFile(stream, contents.size(), form, {{kFree, clusters}});
        const uint64_t table = 12 * 4;
        const auto source =
            std::make_shared<SourceWithHole>(std::string(ntfs.Image().begin(), ntfs.Image().end()));
        volume = NtfsVolumeOf(std::make_shared<CarefulSource>(source));
        ASSERT_TRUE(volume);
        // A sector in the middle of the stream.
        const uint64_t bad = stream.size() / 2 / 512 * 512;
        source->MoveHole(kFree * kCluster + bad, kFree * kCluster + bad + 512);
        Lost lost;
        uint64_t begin = table;
        for (size_t chunk = 0; chunk < 13; ++chunk) {
            const uint64_t end = chunk == 12 ? stream.size() : table + U32At(stream, 4 * chunk);
            const uint64_t bytes = chunk == 12 ? 5 : form.chunkBytes;
            if (begin < bad + 512 && end > bad) {
                if (!lost.empty())
                    lost.back().second += bytes;
                else
                    lost.emplace_back(chunk * form.chunkBytes, bytes);
            }
            begin = end;
        }
        ASSERT_FALSE(lost.empty());
        ExpectLost(Salvage(*volume, u"/f"), contents, lost);
        ExpectLost(Salvage(*volume, u"/f", 1000), contents, lost);
    }
}

// The lost bytes are zeros on the disk, so what is left unpacks: nothing but the gap says that it
// is lost.
TEST_F(PackedVolume, AChunkWithABadSectorIsLostAlsoIfWhatIsLeftUnpacks)
{
    const auto form = std::find_if(std::begin(kPackedForms), std::end(kPackedForms),
                                   [](const auto &any) { return any.chunkBytes == 16384; });
    Bytes stream(256 + 16384 / 8 + 4);
    stream['a' / 2] = 0x10;  // of one bit, as is "b": "a" is 0
    stream['b' / 2] = 0x01;
    const std::string contents(16384, 'a');
    PutFile(stream, contents.size(), *form, {{kFree, stream.size() / kCluster + 1}});
    const auto source =
        std::make_shared<SourceWithHole>(std::string(ntfs.Image().begin(), ntfs.Image().end()));
    volume = NtfsVolumeOf(std::make_shared<CarefulSource>(source));
    ASSERT_TRUE(volume);
    ExpectLost(Salvage(*volume, u"/f"), contents, {});
    source->MoveHole(kFree * kCluster + 1024, kFree * kCluster + 1536);
    volume = NtfsVolumeOf(std::make_shared<CarefulSource>(source));
    ASSERT_TRUE(volume);
    ExpectLost(Salvage(*volume, u"/f"), contents, {{0, 16384}});
}

TEST_F(PackedVolume, AFormThatIsNotKnownDoesNotOpen)
{
    const PackedForm &form = kPackedForms[0];
    const std::string contents = ContentsOf(ContentsKind::kText, 9000);
    const Bytes stream = WimChunks(form).Stream(ViewOf(contents));
    const auto put = [&](const Bytes &point) {
        ntfs.PutFile(kFile, {NtfsWriter::Hole(contents.size()),
                             NtfsWriter::Resident(NtfsType::kData, Bytes(100), kStream), point});
    };
    put(NtfsWriter::PackedPoint(4));
    ExpectObstacle(VolumeObstacle::kPacked);
    put(NtfsWriter::PackedPoint(0, 1));  // its data is in a WIM
    ExpectObstacle(VolumeObstacle::kPacked);
    put(NtfsWriter::PackedPoint(0, 2, 2));
    ExpectObstacle(VolumeObstacle::kPacked);
    Bytes cut = NtfsWriter::PackedPoint(0);
    PutNumber(&cut, 16, 20, 4);  // bytes of the reparse point
    put(cut);
    ExpectObstacle(VolumeObstacle::kPacked);
}

TEST_F(PackedVolume, WithoutItsStreamAFileIsDamaged)
{
    ntfs.PutFile(kFile, {NtfsWriter::Hole(5000), NtfsWriter::PackedPoint(0)});
    ExpectObstacle(VolumeObstacle::kDamaged);
}

TEST_F(PackedVolume, AnEncryptedStreamIsNotUnpacked)
{
    constexpr uint16_t kEncrypted = 0x4000;
    ntfs.PutFile(kFile,
                 {NtfsWriter::Hole(5000),
                  NtfsWriter::InRuns({NtfsType::kData, kStream, 0, 900, {{kFree, 1}}, kEncrypted}),
                  NtfsWriter::PackedPoint(0)});
    ExpectObstacle(VolumeObstacle::kEncryptedFile);
}

TEST_F(PackedVolume, AFileOfMoreThanFourGibibytesIsRead)
{
    const PackedForm &form = kPackedForms[3];
    const WimChunks wim(form);
    const std::string letters = "abcdefg";
    std::vector<Bytes> packed;
    for (const char letter : letters)
        packed.push_back(wim.Pack(ViewOf(std::string(form.chunkBytes, letter))).value());
    const uint64_t chunks = (uint64_t{1} << 32) / form.chunkBytes + 9;
    Bytes stream(8 * (chunks - 1));
    const uint64_t tableBytes = stream.size();
    for (uint64_t chunk = 0; chunk < chunks; ++chunk) {
        if (chunk > 0)
            PutNumber(&stream, 8 * (chunk - 1), stream.size() - tableBytes, 8);
        const Bytes &more = packed[chunk % packed.size()];
        stream.insert(stream.end(), more.begin(), more.end());
    }
    const uint64_t clusters = stream.size() / kCluster + 1;
    ntfs = NtfsWriter(kFree + clusters + 1);
    SetUp();
    PutFile(stream, chunks * form.chunkBytes, form, {{kFree, clusters}});
    const VolumeHandle file = OpenForReading(Open(), u"/f");
    ASSERT_NE(file, nullptr);
    for (const uint64_t chunk : {uint64_t{0}, chunks / 2, chunks - 10, chunks - 9, chunks - 1}) {
        const uint64_t at = chunk * form.chunkBytes;
        auto low = static_cast<uint32_t>(at);
        auto high = static_cast<uint32_t>(at >> 32);
        ASSERT_TRUE(volume->SetFilePosition(file, &low, &high, 0));
        std::string found(form.chunkBytes, '?');
        uint32_t done = 0;
        EXPECT_TRUE(volume->ReadFile(file, found.data(), form.chunkBytes, &done)) << chunk;
        EXPECT_TRUE(found == std::string(form.chunkBytes, letters[chunk % 7])) << chunk;
    }
    volume->CloseHandle(file);
}

// Whether ntfs-3g can store reparse points; the reason if not.
class PackedByOthers : public testing::Test {
protected:
    void SetUp() override
    {
        if (!CanMountNtfs() || !HasProgram("setfattr"))
            GTEST_SKIP() << "mkntfs, ntfs-3g, setfattr or /dev/fuse is missing";
    }
};

TEST_F(PackedByOthers, FilesThatNtfs3gStoresAreRead)
{
    const TestImage image{};
    ASSERT_TRUE(image.MakeNtfs(32));
    TestTree tree;
    std::string script;
    for (const PackedForm &form : kPackedForms) {
        for (const ContentsKind kind : kAllContents) {
            const std::string number = std::to_string(NumberOf(form));
            std::string name = "f" + number;
            name.append("-").append(std::to_string(static_cast<int>(kind)));
            const std::string contents = ContentsOf(kind, 200003, NumberOf(form) + 1);
            tree[name] = contents;
            const Bytes stream = WimChunks(form).Stream(ViewOf(contents));
            image.Folder().WriteFile(name, std::string(stream.begin(), stream.end()));
            script.append("truncate -s 200003 ").append(name);
            script.append(" && cat ").append(Quoted(image.At(name))).append(" >").append(name);
            script.append(":WofCompressedData && setfattr -h -n system.ntfs_reparse_data -v ");
            script.append("0x17000080100000000100000002000000010000000").append(number);
            script.append("000000 ").append(name).append(" && ");
        }
    }
    ASSERT_TRUE(image.RunInNtfs(script + "true"));
    const Opened opened = OpenImage(image.Path());
    ASSERT_TRUE(opened.volume) << opened.detail;
    ExpectSameTree(ReadTree(*opened.volume), tree);
}

}  // namespace
}  // namespace vx
