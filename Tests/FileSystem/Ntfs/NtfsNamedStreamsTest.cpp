// The streams that files and folders of NTFS have beside their data.
#include "NtfsWriter.h"
#include "OpenSource.h"
#include "ReportedVolume.h"
#include "TestImage.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;
using Streams = std::vector<std::pair<std::u16string, uint64_t>>;

constexpr uint64_t kFile = NtfsWriter::kFirstOrdinary;
constexpr uint64_t kMore = kFile + 8;
constexpr uint64_t kFree = NtfsWriter::kFirstFree;
constexpr size_t kCluster = NtfsWriter::kClusterBytes;

Bytes InRecord(const std::u16string &name, const std::string &contents)
{
    return NtfsWriter::Resident(NtfsType::kData, Bytes(contents.begin(), contents.end()), name);
}

class NtfsNamedStreams : public testing::Test {
protected:
    void SetUp() override
    {
        ntfs.PutFolder(NtfsWriter::kRoot, {NtfsWriter::IndexRoot({NtfsWriter::Name(kFile, u"f"),
                                                                  NtfsWriter::Last()})});
        ntfs.PutBytes(kFree, contents);
    }

    OwnedVolume &Open()
    {
        volume = NtfsVolumeOf(SourceOf({ntfs.Image().begin(), ntfs.Image().end()}));
        EXPECT_TRUE(volume);
        return *volume;
    }

    void ExpectStreams(const Streams &streams, bool areAll = true)
    {
        const ReportedStreams found = StreamsOf(Open(), u"/f");
        EXPECT_TRUE(found.streams == streams) << found.streams.size();
        EXPECT_EQ(found.areAll, areAll);
    }

    const std::string contents = NoiseBytes(3 * kCluster - 9, 3);
    NtfsWriter ntfs{512};
    std::unique_ptr<OwnedVolume> volume;
};

TEST_F(NtfsNamedStreams, OfAFileAreVisitedAndOpenWhereverTheyLie)
{
    constexpr uint16_t kSparse = 0x8000;
    constexpr uint16_t kCompressed = 1;
    // Units of two clusters: one with "ab" again and again, one of zeros.
    ntfs.PutBytes(kFree + 10, std::string("\x04\xB0\x04"
                                          "ab\xFB\x17\x00\x00",
                                          9));
    ntfs.PutFile(kFile,
                 {NtfsWriter::Data("the data"), InRecord(u"small", "in the record"),
                  NtfsWriter::InRuns({NtfsType::kData, u"large", 0, contents.size(), {{kFree, 3}}}),
                  NtfsWriter::InRuns(
                      {NtfsType::kData, u"sparse", 0, 4 * kCluster, {{kFree, 1}, {0, 3}}, kSparse}),
                  NtfsWriter::InRuns({NtfsType::kData,
                                      u"packed",
                                      0,
                                      3 * kCluster,
                                      {{kFree + 10, 1}, {0, 1}, {0, 2}},
                                      kCompressed,
                                      1}),
                  InRecord(u"empty", "")});
    ExpectStreams({{u"small", 13},
                   {u"large", contents.size()},
                   {u"sparse", 4 * kCluster},
                   {u"packed", 3 * kCluster},
                   {u"empty", 0}});
    EXPECT_EQ(ReadWholeFile(*volume, u"/f"), "the data");
    EXPECT_EQ(ReadWholeStream(*volume, u"/f", u"small"), "in the record");
    EXPECT_TRUE(ReadWholeStream(*volume, u"/f", u"large") == contents);
    EXPECT_TRUE(ReadWholeStream(*volume, u"/f", u"sparse") ==
                contents.substr(0, kCluster) + std::string(3 * kCluster, '\0'));
    std::string packed;
    while (packed.size() < 2 * kCluster)
        packed += "ab";
    EXPECT_TRUE(ReadWholeStream(*volume, u"/f", u"packed") == packed + std::string(kCluster, '\0'));
    EXPECT_EQ(ReadWholeStream(*volume, u"/f", u"empty"), "");
}

TEST_F(NtfsNamedStreams, OnlyANameThatIsThereOpens)
{
    ntfs.PutFile(kFile, {NtfsWriter::Data("the data"), InRecord(u"s", "x")});
    Open();
    for (const char16_t *name : {u"", u"S", u"s:", u"ss", u":s", u"$DATA"})
        EXPECT_FALSE(ReadWholeStream(*volume, u"/f", name));
    EXPECT_FALSE(ReadWholeStream(*volume, u"/g", u"s"));
    VolumeHandle handle = nullptr;
    EXPECT_FALSE(volume->OpenStream(nullptr, u"s", &handle));
    EXPECT_FALSE(volume->OpenStream(u"/f", nullptr, &handle));
    EXPECT_FALSE(volume->OpenStream(u"/f", u"s", nullptr));
    EXPECT_EQ(handle, nullptr);
    EXPECT_FALSE(StreamsOf(*volume, u"/g").areAll);
    EXPECT_FALSE(volume->VisitStreams(u"/f", nullptr, nullptr));
}

TEST_F(NtfsNamedStreams, FoldersAndTheRootHaveThemToo)
{
    ntfs.PutFolder(NtfsWriter::kRoot,
                   {InRecord(u"of the root", "r"),
                    NtfsWriter::IndexRoot({NtfsWriter::Name(kFile, u"f"), NtfsWriter::Last()})});
    ntfs.PutFolder(kFile, {NtfsWriter::OwnName(u"f"), InRecord(u"of a folder", "ff"),
                           NtfsWriter::IndexRoot({NtfsWriter::Last()})});
    ExpectStreams({{u"of a folder", 2}});
    EXPECT_EQ(ReadWholeStream(*volume, u"/f", u"of a folder"), "ff");
    EXPECT_TRUE(StreamsOf(*volume, u"/").streams == (Streams{{u"of the root", 1}}));
    EXPECT_EQ(ReadWholeStream(*volume, u"/", u"of the root"), "r");
}

TEST_F(NtfsNamedStreams, InOtherRecordsAreVisitedAndALostOneHasNoSize)
{
    const Bytes list =
        NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kData, {}, 0, kFile),
                            NtfsWriter::Listed(NtfsType::kData, u"a", 0, kMore),
                            NtfsWriter::Listed(NtfsType::kData, u"b", 0, kMore),
                            NtfsWriter::Listed(NtfsType::kData, u"b", 1, kMore + 1),
                            NtfsWriter::Listed(NtfsType::kData, u"here", 0, kFile),
                            NtfsWriter::Listed(NtfsType::kData, u"lost", 0, kMore + 2)});
    ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kAttributeList, list),
                         NtfsWriter::Data("data"), InRecord(u"here", "h")});
    ntfs.PutFile(kMore,
                 {InRecord(u"a", "aa"),
                  NtfsWriter::InRuns({NtfsType::kData, u"b", 0, contents.size(), {{kFree, 1}}})},
                 kFile);
    ntfs.PutFile(kMore + 1, {NtfsWriter::InRuns({NtfsType::kData, u"b", 1, 0, {{kFree + 1, 2}}})},
                 kFile);
    ExpectStreams(
        {{u"a", 2}, {u"b", contents.size()}, {u"here", 1}, {u"lost", kUnknownStreamSize}});
    EXPECT_EQ(ReadWholeStream(*volume, u"/f", u"a"), "aa");
    EXPECT_TRUE(ReadWholeStream(*volume, u"/f", u"b") == contents);
    EXPECT_EQ(ReadWholeStream(*volume, u"/f", u"here"), "h");
    EXPECT_FALSE(ReadWholeStream(*volume, u"/f", u"lost"));
    // A stream whose second part is lost gives the first.
    ntfs.PutBytes(NtfsWriter::kTable + kMore + 1, std::string(kCluster, 'x'));
    EXPECT_FALSE(ReadWholeStream(Open(), u"/f", u"b"));
    VolumeHandle handle = nullptr;
    ASSERT_TRUE(volume->OpenStream(u"/f", u"b", &handle));
    std::string first(kCluster, '?');
    uint32_t done = 0;
    EXPECT_TRUE(volume->ReadFile(handle, first.data(), kCluster, &done));
    EXPECT_TRUE(first == contents.substr(0, kCluster));
    volume->CloseHandle(handle);
}

TEST_F(NtfsNamedStreams, OfADamagedListSomeMayBeMissing)
{
    Bytes list = NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kData, u"a", 0, kFile),
                                     NtfsWriter::Listed(NtfsType::kData, u"b", 0, kFile)});
    list.resize(list.size() - 3);
    ntfs.PutFile(kFile, {NtfsWriter::Resident(NtfsType::kAttributeList, list), InRecord(u"a", "1"),
                         InRecord(u"b", "2")});
    ExpectStreams({{u"a", 1}}, false);
    // A list that lies outside the volume.
    ntfs.PutFile(kFile, {NtfsWriter::InRuns({NtfsType::kAttributeList, {}, 0, 90, {{5000, 1}}}),
                         InRecord(u"a", "1")});
    ExpectStreams({{u"a", 1}}, false);
    // A record that ends in the middle.
    Bytes cut = InRecord(u"b", "2");
    cut[4] = 0xFF;
    cut[5] = 0xFF;
    ntfs.PutFile(kFile, {InRecord(u"a", "1"), cut});
    ExpectStreams({{u"a", 1}}, false);
}

TEST_F(NtfsNamedStreams, OddNamesAreFoundAgainAndImpossibleOnesAreMissing)
{
    const std::u16string lone = {u'a', 0xD800};
    ntfs.PutFile(kFile, {InRecord(u".", "dot"), InRecord(u"a:b", "colon"), InRecord(lone, "lone"),
                         InRecord(u"\uEF80", "private"), InRecord(u"a\\..\\b", "back")});
    const std::u16string shown = u"a\uEFED\uEFA0\uEF80";
    ExpectStreams(
        {{u".", 3}, {u"a:b", 5}, {shown, 4}, {u"\uEFEE\uEFBE\uEF80", 7}, {u"a\\..\\b", 4}});
    for (const auto &stream : StreamsOf(*volume, u"/f").streams)
        EXPECT_TRUE(ReadWholeStream(*volume, u"/f", stream.first));
    EXPECT_EQ(ReadWholeStream(*volume, u"/f", shown), "lone");

    ntfs.PutFile(kFile, {InRecord(u"../../etc", "x"), InRecord(std::u16string(u"a\0b", 3), "y"),
                         InRecord(u"good", "z")});
    ExpectStreams({{u"good", 1}}, false);
}

TEST_F(NtfsNamedStreams, ANameThatIsThereAgainAndAgainIsVisitedOnce)
{
    std::vector<Bytes> lines;
    lines.reserve(6000);
    for (int i = 0; i < 6000; ++i)
        lines.push_back(NtfsWriter::Listed(NtfsType::kData, i % 2 == 0 ? u"a" : u"lost", 0,
                                           i % 2 == 0 ? kFile : kMore + i % 16));
    const Bytes list = NtfsWriter::Joined(lines);
    ntfs.PutBytes(kFree + 20, std::string(list.begin(), list.end()));
    ntfs.PutFile(kFile, {NtfsWriter::InRuns({NtfsType::kAttributeList,
                                             {},
                                             0,
                                             list.size(),
                                             {{kFree + 20, list.size() / kCluster + 1}}}),
                         InRecord(u"a", "1")});
    ExpectStreams({{u"a", 1}, {u"lost", kUnknownStreamSize}});
}

TEST_F(NtfsNamedStreams, ThePackedStreamOfAFileIsItsDataAndNoStreamOfItsOwn)
{
    const Bytes packed = InRecord(u"WofCompressedData", "x");
    const auto put = [&](const Bytes &point) {
        ntfs.PutFile(kFile, {NtfsWriter::Hole(1), packed, InRecord(u"s", "x"), point});
    };
    put(NtfsWriter::PackedPoint(0));
    ExpectStreams({{u"s", 1}});
    put(NtfsWriter::PackedPoint(9));  // a form that is not known: then it is all there is
    ExpectStreams({{u"WofCompressedData", 1}, {u"s", 1}});
    put({});
    ExpectStreams({{u"WofCompressedData", 1}, {u"s", 1}});
}

TEST_F(NtfsNamedStreams, AnEncryptedStreamDoesNotOpen)
{
    ntfs.PutFile(kFile,
                 {NtfsWriter::InRuns({NtfsType::kData, u"s", 0, 900, {{kFree, 1}}, 0x4000})});
    ExpectStreams({{u"s", 900}});
    EXPECT_FALSE(ReadWholeStream(*volume, u"/f", u"s"));
}

TEST(NamedStreams, OfFatAndPlainFoldersThereAreNone)
{
    VX_NEEDS("mkfs.fat");
    VX_NEEDS("mcopy");
    const TestImage image{};
    ASSERT_TRUE(image.MakeFat(16, ""));
    ASSERT_TRUE(image.FillFat({{"f", "x"}}));
    const Opened opened = OpenImage(image.Path());
    ASSERT_TRUE(opened.volume) << opened.detail;
    image.Folder().WriteFile("folder/f", "x");
    const auto folder = OpenFolderVolume(image.At("folder"));
    for (OwnedVolume *volume : {opened.volume.get(), folder.get()}) {
        EXPECT_TRUE(StreamsOf(*volume, u"/f").areAll);
        EXPECT_TRUE(StreamsOf(*volume, u"/f").streams.empty());
        EXPECT_FALSE(ReadWholeStream(*volume, u"/f", u"s"));
    }
}

class NtfsStreamsOfOthers : public testing::Test {
protected:
    void SetUp() override
    {
        if (!CanMountNtfs())
            GTEST_SKIP() << "mkntfs, ntfs-3g or /dev/fuse is missing";
        ASSERT_TRUE(image.MakeNtfs(32));
    }

    void OpenIt()
    {
        opened = OpenImage(image.Path());
        ASSERT_TRUE(opened.volume) << opened.detail;
    }

    const TestImage image{};
    Opened opened;
};

TEST_F(NtfsStreamsOfOthers, ThousandsThatNtfs3gMakesAreVisitedAndRead)
{
    ASSERT_TRUE(
        image.RunInNtfs("echo data > f && i=0 && while [ $i -lt 2000 ]; do "
                        "printf \"$i bytes\" > \"f:stream number $i\"; i=$((i + 1)); done"));
    OpenIt();
    const ReportedStreams found = StreamsOf(*opened.volume, u"/f");
    EXPECT_TRUE(found.areAll);
    ASSERT_EQ(found.streams.size(), 2000u);
    for (int i = 0; i < 2000; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_EQ(ReadWholeStream(*opened.volume, u"/f", Utf16("stream number " + number)),
                  number + " bytes");
    }
}

// As the reader of the Sleuth Kit gives them: "r/r 64-128-2:\tf:stream".
struct ListedStream {
    std::string address;
    std::string file;
    std::string stream;
};

std::vector<ListedStream> StreamsOfFls(const TestImage &image)
{
    std::vector<ListedStream> streams;
    EXPECT_TRUE(RunShell("fls -r -p " + Quoted(image.Path()) + " >" + Quoted(image.At("list"))));
    std::ifstream list(image.At("list"));
    for (std::string line; std::getline(list, line);) {
        const size_t tab = line.find(":\t");
        const size_t colon = tab == line.npos ? tab : line.find(':', tab + 2);
        const size_t address = line.find(' ') + 1;
        const bool isSelf = line.find("/.:") != line.npos;  // a folder as an entry of itself
        if (colon != line.npos && line[tab + 2] != '$' && !isSelf)
            streams.push_back({line.substr(address, tab - address),
                               "/" + line.substr(tab + 2, colon - tab - 2),
                               line.substr(colon + 1)});
    }
    return streams;
}

TEST_F(NtfsStreamsOfOthers, AreThoseThatTheSleuthKitReads)
{
    VX_NEEDS("fls");
    VX_NEEDS("icat");
    ASSERT_TRUE(image.RunInNtfs(
        "mkdir -p d/e && echo data > f && printf zone > f:Zone.Identifier && "
        "head -c 300000 /dev/urandom > f:large && printf x > d:of.folder && : > f:empty && "
        "echo g > d/e/g && printf '\\303\\251' > 'd/e/g:\303\251 \360\237\230\200' && "
        "truncate -s 100000 d/e/g:sparse && printf end >> d/e/g:sparse"));
    OpenIt();
    const std::vector<ListedStream> listed = StreamsOfFls(image);
    ASSERT_EQ(listed.size(), 6u);
    for (const ListedStream &stream : listed) {
        ASSERT_TRUE(RunShell("icat " + Quoted(image.Path()) + " " + stream.address + " >" +
                             Quoted(image.At("bytes"))));
        const auto bytes =
            ReadWholeStream(*opened.volume, Utf16(stream.file), Utf16(stream.stream));
        EXPECT_TRUE(bytes == image.Folder().ReadFile("bytes")) << stream.file << stream.stream;
    }
    EXPECT_EQ(StreamsOf(*opened.volume, u"/f").streams.size(), 3u);
    EXPECT_EQ(StreamsOf(*opened.volume, u"/d").streams.size(), 1u);
    EXPECT_EQ(StreamsOf(*opened.volume, u"/d/e/g").streams.size(), 2u);
}

TEST_F(NtfsStreamsOfOthers, AreExportedByTheToolAsTheyWereWritten)
{
    ASSERT_TRUE(
        image.RunInNtfs("mkdir d && echo data > d/f && printf zone > d/f:Zone.Identifier && "
                        "head -c 5000000 /dev/urandom > d/f:large && cp d/f:large " +
                        Quoted(image.At("large")) + " && printf x > d:of.folder"));
    ASSERT_TRUE(RunShell(VX_TOOL " --streams --to " + Quoted(image.At("out")) + " " +
                         Quoted(image.Path()) + " >" + Quoted(image.At("log")) + " 2>&1"));
    ASSERT_TRUE(RunShell("cd " + Quoted(image.At("out")) + " && find . -type f | sort >" +
                         Quoted(image.At("found"))));
    EXPECT_EQ(image.Folder().ReadFile("found"),
              "./d/f\n./d/f:Zone.Identifier\n./d/f:large\n./d:of.folder\n");
    EXPECT_TRUE(
        RunShell("cmp " + Quoted(image.At("out/d/f:large")) + " " + Quoted(image.At("large"))));
    EXPECT_EQ(image.Folder().ReadFile("out/d/f:Zone.Identifier"), "zone");
}

}  // namespace
}  // namespace vx
