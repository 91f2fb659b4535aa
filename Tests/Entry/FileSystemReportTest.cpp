// What is reported of a file system as a whole, against the programs that know it best.
#include "FatBoot.h"
#include "NtfsBoot.h"
#include "NtfsMft.h"
#include "NtfsStream.h"
#include "OpenSource.h"
#include "SourceWithHole.h"
#include "TestImage.h"

#include <regex>
#include <sys/statvfs.h>

namespace vx {
namespace {

using State = VolumeFileSystemState;

std::optional<VolumeFileSystemReport> ReportOf(OwnedVolume *volume)
{
    VolumeFileSystemReport report;
    if (volume == nullptr || !volume->DescribeFileSystem(&report))
        return std::nullopt;
    return report;
}

class FileSystemReports : public testing::Test {
protected:
    VolumeFileSystemReport Report() const
    {
        const Opened opened = OpenImage(image.Path());
        EXPECT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
        return ReportOf(opened.volume.get()).value_or(VolumeFileSystemReport());
    }

    // What a command says about the image, whose path follows it.
    std::string Printed(const std::string &command) const
    {
        EXPECT_TRUE(
            RunShell(command + " " + Quoted(image.Path()) + " > " + Quoted(image.At("printed"))));
        return image.Folder().ReadFile("printed");
    }

    // The group of the expression in the text.
    static std::string Part(const std::string &text, const std::string &expression)
    {
        std::smatch found;
        const bool isThere = std::regex_search(text, found, std::regex(expression));
        EXPECT_TRUE(isThere) << expression << " in\n" << text;
        return isThere ? found[1].str() : "";
    }

    static uint64_t Number(const std::string &text, const std::string &expression)
    {
        const std::string digits = Part(text, expression);
        return digits.empty() ? 0 : std::stoull(digits);
    }

    std::string Bytes() const { return image.Folder().ReadFile("image"); }
    void Write(const std::string &bytes) const { image.Folder().WriteFile("image", bytes); }

    const TestImage image{};
};

// --- NTFS

class NtfsReports : public FileSystemReports {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkntfs");
        VX_NEEDS("ntfsinfo");
    }

    // Where the data of one of the file system's own files begins.
    static uint64_t PlaceOf(const std::string &bytes, uint64_t number)
    {
        const Source source = SourceOf(bytes);
        std::vector<std::string> notes;
        const auto mft = NtfsMft::Open(source, &notes);
        const auto record = (*mft)->Load(number);
        return FindStream(**mft, *source, *record, number, NtfsType::kData, {})
            .extents.runs.at(0)
            .offset;
    }

    static size_t RecordAt(const std::string &bytes, uint64_t number)
    {
        const auto boot = ReadNtfsBoot(*SourceOf(bytes), 0);
        return boot->mftOffset + number * boot->geometry.recordBytes;
    }

    static VolumeFileSystemReport ReportOfSource(const Source &source)
    {
        const auto volume = NtfsVolumeOf(source);
        EXPECT_NE(volume, nullptr);
        return ReportOf(volume.get()).value_or(VolumeFileSystemReport());
    }
};

TEST_F(NtfsReports, SaysWhatNtfsinfoAndBlkidSay)
{
    for (const char *options : {"-c 512", "-c 4096 -L 'Données 日本'", "-c 65536 -L x"}) {
        ASSERT_TRUE(image.MakeNtfs(40, options));
        ASSERT_TRUE(image.FillNtfs(SampleTree()));
        const std::string printed = Printed("ntfsinfo --mft");
        const uint64_t clusterBytes = Number(printed, "Cluster Size: (\\d+)");
        const VolumeFileSystemReport report = Report();
        EXPECT_EQ(report.name, "NTFS " + Part(printed, "Volume Version: ([\\d.]+)"));
        EXPECT_EQ(report.label, Part(printed, "Volume Name: (.*)"));
        EXPECT_EQ(report.clusterBytes, clusterBytes);
        EXPECT_EQ(report.totalBytes,
                  clusterBytes * Number(printed, "Volume Size in Clusters: (\\d+)"));
        EXPECT_EQ(report.freeBytes, clusterBytes * Number(printed, "Free Clusters: (\\d+)"));
        EXPECT_EQ(report.state, State::kClean);
        const std::string serial = Part(Printed("blkid -p -o export"), "UUID=([0-9A-F]{16})");
        EXPECT_EQ(report.serial, serial.substr(8, 4) + "-" + serial.substr(12));
    }
}

TEST_F(NtfsReports, AVolumeThatIsMarkedForACheckIsInUse)
{
    VX_NEEDS("ntfsresize");
    ASSERT_TRUE(image.MakeNtfs(40));
    ASSERT_TRUE(RunShell("ntfsresize --force --force --size 20M " + Quoted(image.Path())));
    EXPECT_EQ(Part(Printed("ntfsinfo --force --mft"), "Volume Flags: 0x(\\d+)"), "0001");
    EXPECT_EQ(Report().state, State::kInUse);
}

// A restart page whose area is in the usual place. client: the first one that is open.
std::string RestartPage(uint8_t version, uint64_t newest, uint16_t client, uint16_t flags)
{
    constexpr size_t kPage = 4096;
    std::string page(kPage, '\0');
    const auto put = [&](size_t at, uint64_t value, size_t count) {
        for (size_t i = 0; i < count; ++i)
            page[at + i] = static_cast<char>(value >> 8 * i);
    };
    page.replace(0, 4, "RSTR");
    put(4, 30, 2);
    put(6, kPage / 512 + 1, 2);
    put(16, kPage, 4);
    put(20, kPage, 4);
    put(24, 48, 2);
    put(26, 1, 2);
    put(28, version, 2);
    put(30, 0x0101, 2);
    put(48, newest, 8);
    put(56, 1, 2);       // clients
    put(58, 0xFFFF, 2);  // of those that are free none
    put(60, client, 2);
    put(62, flags, 2);
    put(64, 67 - 23, 4);  // bits of a sequence number, of a file of 4 MiB
    put(68, 224, 2);      // length of the area
    put(70, 64, 2);       // where the client is
    put(72, 4 << 20, 8);
    put(84, 48, 2);
    put(86, 64, 2);
    put(48 + 64 + 16, 0xFFFF, 2);  // the client: before and after it none
    put(48 + 64 + 18, 0xFFFF, 2);
    put(48 + 64 + 28, 8, 4);
    page.replace(48 + 64 + 32, 8, std::string("N\0T\0F\0S\0", 8));
    for (size_t end = 512; end <= kPage; end += 512)
        put(end - 2, 0x0101, 2);
    return page;
}

TEST_F(NtfsReports, TheJournalSaysWhetherItWasTakenOffInOrder)
{
    VX_NEEDS("ntfs-3g.probe");
    constexpr uint16_t kNone = 0xFFFF;
    struct {
        std::string first;
        std::string second;
        State state;
        bool isRefused;  // by another program
    } const cases[] = {
        {RestartPage(1, 5, kNone, 0), RestartPage(1, 4, 0, 0), State::kClean, false},
        {RestartPage(1, 4, kNone, 0), RestartPage(1, 5, 0, 0), State::kInUse, true},
        {RestartPage(1, 5, 0, 0), RestartPage(1, 4, 0, 0), State::kInUse, true},
        {RestartPage(1, 5, 0, 2), RestartPage(1, 4, 0, 0), State::kClean, false},
        {RestartPage(2, 5, kNone, 0), RestartPage(2, 4, kNone, 0), State::kInUse, true},
    };
    ASSERT_TRUE(image.MakeNtfs(40));
    const std::string whole = Bytes();
    const uint64_t journal = PlaceOf(whole, 2);
    for (const auto &one : cases) {
        std::string bytes = whole;
        bytes.replace(journal, 4096, one.first);
        bytes.replace(journal + 4096, 4096, one.second);
        Write(bytes);
        EXPECT_EQ(Report().state, one.state);
        const int status = std::system(
            ("ntfs-3g.probe --readwrite " + Quoted(image.Path()) + " 2>/dev/null").c_str());
        EXPECT_EQ(status != 0, one.isRefused) << &one - cases;
    }
    std::string torn = whole;
    torn.replace(journal, 4096, RestartPage(1, 5, kNone, 0));
    torn[journal + 510] ^= 1;
    torn.replace(journal + 4096, 4096, std::string(4096, '\0'));
    Write(torn);
    EXPECT_EQ(Report().state, State::kUnknown);
}

TEST_F(NtfsReports, WhatCannotBeReadStaysUnknown)
{
    ASSERT_TRUE(image.MakeNtfs(40, "-L label"));
    const std::string bytes = Bytes();
    const auto withHole = [&](uint64_t at, uint64_t length) {
        return ReportOfSource(std::make_shared<SourceWithHole>(bytes, at, at + length));
    };
    const VolumeFileSystemReport noBitmap = withHole(PlaceOf(bytes, 6), 1);
    EXPECT_EQ(noBitmap.freeBytes, kUnknownBytes);
    EXPECT_STREQ(noBitmap.label, "label");
    EXPECT_EQ(noBitmap.state, State::kClean);
    const VolumeFileSystemReport noVolumeFile = withHole(RecordAt(bytes, 3), 1024);
    EXPECT_STREQ(noVolumeFile.name, "NTFS");
    EXPECT_STREQ(noVolumeFile.label, "");
    EXPECT_EQ(noVolumeFile.state, State::kUnknown);
    EXPECT_NE(noVolumeFile.freeBytes, kUnknownBytes);
    const VolumeFileSystemReport noJournal = withHole(PlaceOf(bytes, 2) + 4096, 512);
    EXPECT_EQ(noJournal.state, State::kUnknown);
    const VolumeFileSystemReport noBoot = withHole(0, 512);
    EXPECT_STREQ(noBoot.serial, ReportOfSource(SourceOf(bytes)).serial) << "its copy has it";
}

TEST_F(NtfsReports, ABitmapThatIsTooShortSaysNothing)
{
    ASSERT_TRUE(image.MakeNtfs(40));
    std::string bytes = Bytes();
    const size_t record = RecordAt(bytes, 6);
    const size_t attribute = bytes.find(std::string("\x80\0\0\0", 4), record);
    ASSERT_LT(attribute, record + 1024);
    for (const size_t field : {48U, 56U}) {  // its size, and what of it was written
        std::string damaged = bytes;
        damaged[attribute + field] = 1;
        damaged[attribute + field + 1] = 0;
        EXPECT_EQ(ReportOfSource(SourceOf(damaged)).freeBytes, kUnknownBytes);
    }
}

TEST_F(NtfsReports, AnEncryptedVolumeSaysTheSame)
{
    ASSERT_TRUE(image.MakeNtfs(20, "-L inside"));
    ASSERT_TRUE(image.FillNtfs(SampleTree()));
    const VolumeFileSystemReport plain = Report();
    ASSERT_TRUE(image.Encrypt("--password correct"));
    const Opened opened = OpenImage(image.Path(), "password", "correct");
    const auto inside = ReportOf(opened.volume.get());
    ASSERT_TRUE(inside) << opened.detail;
    EXPECT_STREQ(inside->label, "inside");
    EXPECT_STREQ(inside->serial, plain.serial);
    EXPECT_EQ(inside->freeBytes, plain.freeBytes);
    EXPECT_EQ(inside->totalBytes, plain.totalBytes);
}

// --- FAT

class FatReports : public FileSystemReports {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("fsck.fat");
        VX_NEEDS("mcopy");
    }

    void SetBits(size_t at, uint8_t clear, uint8_t set) const
    {
        std::string bytes = Bytes();
        bytes[at] = static_cast<char>((static_cast<uint8_t>(bytes[at]) & ~clear) | set);
        Write(bytes);
    }

    size_t TableAt() const { return FindFatBoot(*SourceOf(Bytes()))->geometry.tableOffset; }
};

TEST_F(FatReports, SaysWhatFsckAndBlkidSay)
{
    struct {
        int mebibytes;
        const char *options;
        const char *name;
        State state;
    } const kinds[] = {{4, "-F 12 -n ONE", "FAT12", State::kUnknown},
                       {40, "-F 16 -s 2 -n TWO", "FAT16", State::kClean},
                       {40, "-F 32 -s 1 -n THREE", "FAT32", State::kClean}};
    for (const auto &kind : kinds) {
        ASSERT_TRUE(image.MakeFat(kind.mebibytes, kind.options));
        ASSERT_TRUE(image.FillFat(SampleTree()));
        const std::string printed = Printed("fsck.fat -vn");
        const uint64_t clusterBytes = Number(printed, "(\\d+) bytes per cluster");
        const uint64_t used = Number(printed, "files, (\\d+)/\\d+ clusters");
        const uint64_t clusters = Number(printed, "files, \\d+/(\\d+) clusters");
        const VolumeFileSystemReport report = Report();
        EXPECT_STREQ(report.name, kind.name);
        EXPECT_EQ(report.clusterBytes, clusterBytes);
        EXPECT_EQ(report.totalBytes, clusters * clusterBytes);
        EXPECT_EQ(report.freeBytes, (clusters - used) * clusterBytes) << kind.name;
        EXPECT_EQ(report.state, kind.state) << kind.name;
        const std::string known = Printed("blkid -p -o export");
        EXPECT_EQ(report.serial, Part(known, "UUID=([0-9A-F-]{9})"));
        EXPECT_EQ(report.label, Part(known, "LABEL=(.*)"));
    }
}

TEST_F(FatReports, TheSecondEntryOfTheTableSaysHowItWasLeft)
{
    for (const auto &[options, entry] : {std::pair{"-F 16 -s 2", size_t{3}}, {"-F 32 -s 1", 7}}) {
        const uint8_t clean = entry == 3 ? 0x80 : 0x08;
        ASSERT_TRUE(image.MakeFat(40, options));
        SetBits(TableAt() + entry, clean, 0);
        EXPECT_EQ(Report().state, State::kInUse) << options;
        SetBits(TableAt() + entry, clean / 2, 0);
        EXPECT_EQ(Report().state, State::kDamaged) << options;
    }
}

TEST_F(FatReports, SoDoesTheBootSector)
{
    for (const auto &[options, flags] :
         {std::pair{"-F 12", size_t{37}}, {"-F 16 -s 2", 37}, {"-F 32 -s 1", 65}}) {
        ASSERT_TRUE(image.MakeFat(options == std::string("-F 12") ? 4 : 40, options));
        SetBits(flags, 0, 1);
        const std::string path = Quoted(image.Path());
        ASSERT_TRUE(RunShell("fsck.fat -n " + path + " | grep -q 'Dirty bit is set'")) << options;
        EXPECT_EQ(Report().state, State::kInUse) << options;
        SetBits(flags, 0, 2);
        EXPECT_EQ(Report().state, State::kDamaged) << options;
    }
}

TEST_F(FatReports, TheCopyOfATableIsCountedIfTheFirstOneCannotBeRead)
{
    ASSERT_TRUE(image.MakeFat(40, "-F 32 -s 1"));
    ASSERT_TRUE(image.FillFat(SampleTree()));
    const std::string bytes = Bytes();
    const auto geometry = FindFatBoot(*SourceOf(bytes))->geometry;
    const auto freeWithHole = [&](uint64_t begin, uint64_t end) {
        const auto volume = FatVolumeOf(std::make_shared<SourceWithHole>(bytes, begin, end));
        return ReportOf(volume.get())->freeBytes;
    };
    const uint64_t sound = Report().freeBytes;
    const uint64_t late = geometry.tableOffset + geometry.tableBytes - 4096;
    EXPECT_EQ(freeWithHole(late, late + 512), sound);
    EXPECT_EQ(freeWithHole(late, late + geometry.tableBytes + 512), kUnknownBytes) << "in both";
}

// --- exFAT

class ExfatReports : public FileSystemReports {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.exfat");
        VX_NEEDS("dump.exfat");
    }
};

TEST_F(ExfatReports, SaysWhatDumpExfatSays)
{
    for (const char *options : {"-L 'Отчёт' -c 4K", "-c 32K", "-L x -c 512"}) {
        ASSERT_TRUE(image.MakeExfat(40));
        ASSERT_TRUE(RunShell(std::string("mkfs.exfat ") + options + " " + Quoted(image.Path())));
        const std::string printed = Printed("dump.exfat");
        const uint64_t clusterBytes = Number(printed, "Cluster size:\\s*(\\d+)");
        const VolumeFileSystemReport report = Report();
        EXPECT_STREQ(report.name, "exFAT");
        EXPECT_EQ(report.clusterBytes, clusterBytes);
        EXPECT_EQ(report.totalBytes, clusterBytes * Number(printed, "Total Clusters:\\s*(\\d+)"));
        EXPECT_EQ(report.freeBytes, clusterBytes * Number(printed, "Free Clusters:\\s*(\\d+)"));
        EXPECT_EQ(report.state, State::kClean);
        const std::string known = Printed("blkid -p -o export");
        EXPECT_EQ(report.serial, Part(known, "UUID=([0-9A-F-]{9})"));
        EXPECT_EQ(report.label,
                  std::string(options) == "-c 32K" ? "" : Part(printed, "Volume label:\\s*(\\S+)"));
    }
}

TEST_F(ExfatReports, TheFlagsOfTheBootSectorSayHowItWasLeft)
{
    ASSERT_TRUE(image.MakeExfat(16));
    std::string bytes = Bytes();
    bytes[106] = 2;
    Write(bytes);
    EXPECT_EQ(Report().state, State::kInUse);
    bytes[106] = 6;
    Write(bytes);
    EXPECT_EQ(Report().state, State::kDamaged);
    bytes[106] = 0;
    bytes.replace(0, 512, 512, '\0');
    Write(bytes);
    EXPECT_EQ(Report().state, State::kUnknown) << "the backup does not say it";
}

TEST_F(ExfatReports, WithoutItsBitmapTheFreeSpaceIsUnknown)
{
    ASSERT_TRUE(image.MakeExfat(16));
    std::string bytes = Bytes();
    const size_t entry = bytes.find(std::string("\x81\0\0\0\0\0\0\0", 8));
    ASSERT_NE(entry, std::string::npos);
    for (const auto &[field, value] : {std::pair{size_t{0}, '\x01'}, {20, '\0'}, {24, '\1'}}) {
        std::string damaged = bytes;
        damaged[entry + field] = value;
        damaged[entry + 25] = field == 24 ? '\0' : damaged[entry + 25];
        Write(damaged);
        EXPECT_EQ(Report().freeBytes, kUnknownBytes) << field;
    }
}

// --- Others

TEST_F(FileSystemReports, AFolderHasTheSpaceOfItsFileSystem)
{
    const auto volume = OpenFolderVolume(image.Folder().Path());
    const auto report = ReportOf(volume.get());
    struct statvfs space;
    ASSERT_EQ(statvfs(image.Folder().Path().c_str(), &space), 0);
    ASSERT_TRUE(report);
    EXPECT_STREQ(report->name, "folder");
    EXPECT_EQ(report->totalBytes, uint64_t{space.f_blocks} * space.f_frsize);
    EXPECT_LE(report->freeBytes, report->totalBytes);
    EXPECT_GT(report->freeBytes, 0u);
    EXPECT_EQ(report->clusterBytes, 0u);
    EXPECT_EQ(report->state, State::kUnknown);
}

TEST_F(FileSystemReports, AnotherVersionOfTheStructureIsRefused)
{
    const auto volume = OpenFolderVolume(image.Folder().Path());
    VolumeFileSystemReport report;
    report.bytes -= 8;
    EXPECT_FALSE(volume->DescribeFileSystem(&report));
    EXPECT_FALSE(volume->DescribeFileSystem(nullptr));
    EXPECT_STREQ(report.name, "");
}

}  // namespace
}  // namespace vx
