// What cannot be read of an image file is not tried again and again, however many places of the
// disk depend on it.
#include "CarefulSource.h"
#include "Container.h"
#include "FailingFiles.h"
#include "FailingSource.h"
#include "RememberingSource.h"
#include "TestImage.h"

#include <cerrno>

namespace vx {
namespace {

constexpr uint64_t kSector = 512;
constexpr size_t kMiB = size_t{1} << 20;

// Reads no more than a sector at a time, and does not say how far it came.
class FailsWhole final : public ByteSource {
public:
    explicit FailsWhole(std::shared_ptr<const ByteSource> source) : _source(std::move(source)) {}

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        return count > kSector ? SystemError(EIO, "read") : _source->ReadAt(offset, buffer, count);
    }

private:
    const std::shared_ptr<const ByteSource> _source;
};

class RememberedFailures : public testing::Test {
protected:
    bool Reads(uint64_t offset, size_t count)
    {
        std::string bytes(count, '?');
        const Error error = source->ReadAt(offset, bytes.data(), count);
        if (!error) {
            EXPECT_EQ(bytes, file->Bytes().substr(offset, count));
        }
        return !error;
    }
    void Open(uint32_t retries) { source = std::make_shared<RememberingSource>(file, retries); }

    const std::shared_ptr<FailingSource> file =
        std::make_shared<FailingSource>(NoiseBytes(64 * kSector, 1));
    std::shared_ptr<RememberingSource> source = std::make_shared<RememberingSource>(file, 0);
};

TEST_F(RememberedFailures, ASectorIsTriedTwiceWhateverPartOfItIsWanted)
{
    file->MakeBad(5 * kSector, kSector);
    for (size_t at = 0; at < kSector; at += 8)
        EXPECT_FALSE(Reads(5 * kSector + at, 8));
    EXPECT_FALSE(Reads(0, 64 * kSector));
    EXPECT_EQ(file->FailedReads(), 2);
}

TEST_F(RememberedFailures, EachRetryIsATryMore)
{
    Open(3);
    file->MakeBad(5 * kSector, kSector);
    for (int i = 0; i < 20; ++i)
        EXPECT_FALSE(Reads(5 * kSector, 8));
    EXPECT_EQ(file->FailedReads(), 5);
}

TEST_F(RememberedFailures, WhatLiesBesideABadSectorIsRead)
{
    file->MakeBad(5 * kSector, kSector);
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(Reads(4 * kSector, 3 * kSector));
    EXPECT_TRUE(Reads(0, 5 * kSector));
    EXPECT_TRUE(Reads(6 * kSector, 58 * kSector));
    EXPECT_TRUE(Reads(4 * kSector + 100, 100));
}

TEST_F(RememberedFailures, ReadsThatOverlapTryABadSectorTwiceTogether)
{
    file->MakeBad(5 * kSector, kSector);
    for (size_t at = kSector; at <= 5 * kSector; at += 100)
        EXPECT_FALSE(Reads(at, 10 * kSector - at));
    EXPECT_EQ(file->FailedReads(), 2);
}

// As of a file in a network, where a long read fails as a whole.
TEST_F(RememberedFailures, ALongReadThatFailsDoesNotCondemnItsFirstSector)
{
    const auto whole = std::make_shared<FailsWhole>(file);
    const RememberingSource kept(whole, 0);
    char bytes[8 * kSector];
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(kept.ReadAt(0, bytes, sizeof bytes));
    EXPECT_FALSE(kept.ReadAt(0, bytes, kSector));
    EXPECT_FALSE(kept.ReadAt(4, bytes, 8));
}

TEST_F(RememberedFailures, OneThatGoesAwayInTimeIsForgotten)
{
    file->MakeBad(5 * kSector, kSector, 1);
    EXPECT_FALSE(Reads(5 * kSector, 8));
    EXPECT_TRUE(Reads(5 * kSector, 8));
    file->MakeBad(5 * kSector, kSector, 1);
    EXPECT_FALSE(Reads(5 * kSector, 8));
    EXPECT_TRUE(Reads(5 * kSector, 8));
}

TEST_F(RememberedFailures, TheErrorSaysWhereAndWhy)
{
    file->MakeBad(5 * kSector, kSector);
    for (int i = 0; i < 3; ++i) {
        std::string bytes(8 * kSector, '?');
        const Error error = source->ReadAt(kSector, bytes.data(), bytes.size());
        EXPECT_EQ(error.status, Status::kSystemError);
        EXPECT_EQ(error.systemError, EIO);
        EXPECT_EQ(error.bytesRead, 4 * kSector);
        EXPECT_NE(error.detail.find("read at 2560"), std::string::npos) << error.detail;
    }
}

TEST_F(RememberedFailures, ThatTheDiskIsGoneOrMemoryIsShortIsNotRemembered)
{
    for (const int error : {ENODEV, ENOMEM, EMFILE}) {
        file->FailWith(error);
        for (int i = 0; i < 5; ++i)
            EXPECT_FALSE(Reads(0, kSector));
        file->FailWith(0);
        EXPECT_TRUE(Reads(0, kSector));
    }
}

TEST_F(RememberedFailures, ARangeBeyondTheEndFailsAsBefore)
{
    char byte;
    EXPECT_EQ(source->ReadAt(64 * kSector, &byte, 1).status, Status::kTruncatedImage);
    EXPECT_EQ(source->ReadAt(UINT64_MAX, &byte, 1).status, Status::kTruncatedImage);
}

TEST_F(RememberedFailures, MoreThanAreKeptAreStillReadRight)
{
    const auto large = std::make_shared<FailingSource>(
        std::string(2 * RememberingSource::kMostKept * kSector, 'x'));
    large->MakeBad(0, (2 * RememberingSource::kMostKept - 1) * kSector);
    const RememberingSource kept(large, 0);
    char bytes[8];
    for (uint64_t at = 0; at + kSector < large->Size(); at += kSector)
        EXPECT_TRUE(kept.ReadAt(at, bytes, sizeof bytes));
    EXPECT_FALSE(kept.ReadAt(large->Size() - kSector, bytes, sizeof bytes));
}

struct Format {
    const char *name;
    const char *program;
    const char *make;   // out of "disk", in the folder of the image
    const char *image;  // its first file
    // Of a sector of a table, in that file.
    uint64_t (*findTable)(const std::string &image);

    friend void PrintTo(const Format &format, std::ostream *out) { *out << format.name; }
};

uint64_t BigAt(const std::string &image, size_t at, size_t bytes)
{
    uint64_t number = 0;
    for (size_t i = 0; i < bytes; ++i)
        number = number << 8 | static_cast<uint8_t>(image.at(at + i));
    return number;
}

uint64_t LittleAt(const std::string &image, size_t at, size_t bytes)
{
    uint64_t number = 0;
    for (size_t i = bytes; i > 0; --i)
        number = number << 8 | static_cast<uint8_t>(image.at(at + i - 1));
    return number;
}

uint64_t QcowL1(const std::string &image)
{
    return BigAt(image, 40, 8);
}

class BadTable : public testing::TestWithParam<Format> {
protected:
    void SetUp() override
    {
        VX_NEEDS(GetParam().program);
        folder.WriteFile("disk", disk);
        ASSERT_TRUE(RunShell("cd " + Quoted(folder.At("")) + " && " + GetParam().make));
        const uint64_t place = GetParam().findTable(folder.ReadFile(GetParam().image));
        files.MakeBad(folder.At(GetParam().image), place / kSector * kSector, kSector);
    }

    // Reads the disk in large pieces and in small ones; how much of it was lost.
    uint64_t Lost(const ByteSource &source) const
    {
        uint64_t lost = 0;
        for (const size_t step : {kMiB, size_t{4096}}) {
            std::string bytes(step, '?');
            for (uint64_t at = 0; at < disk.size(); at += step) {
                ByteRanges gaps;
                (void)source.Salvage(at, bytes.data(), step, &gaps);
                std::string expected = disk.substr(at, step);
                for (const ByteRange &gap : gaps) {
                    expected.replace(gap.offset - at, gap.length, gap.length, '\0');
                    lost += gap.length;
                }
                EXPECT_TRUE(bytes == expected) << at;
            }
        }
        return lost;
    }

    void ExpectFewTries(uint32_t retries, int most)
    {
        const int before = files.FailedReads();
        bool isLost = false;
        const auto container = OpenContainer(folder.At(GetParam().image), retries);
        if (container) {
            ReadingLimits limits;
            limits.retries = retries;
            const CarefulSource source(container->source, container->files, limits);
            isLost = Lost(source) > 0;
        }
        const int tries = files.FailedReads() - before;
        EXPECT_GT(tries, isLost ? static_cast<int>(retries) : 0);
        EXPECT_LE(tries, most);
    }

    const std::string disk = NoiseBytes(8 * kMiB, 1) + std::string(8 * kMiB, 'x');
    const TemporaryFolder folder{};
    FailingFiles files;
};

TEST_P(BadTable, IsTriedAHandfulOfTimes)
{
    ExpectFewTries(0, 8);
    ExpectFewTries(3, 14);
}

const Format kFormats[] = {
    {"Vhdx", "qemu-img", "qemu-img convert -f raw -O vhdx -o block_size=1M disk made.vhdx",
     "made.vhdx",
     // The table of blocks is one of the two regions.
     [](const std::string &image) {
         const size_t first = 192 * 1024 + 16;
         const bool isFirst = LittleAt(image, first, 4) == 0x2DC27766;
         return LittleAt(image, first + (isFirst ? 16 : 48), 8);
     }},
    {"QcowL1", "qemu-img", "qemu-img convert -f raw -O qcow2 disk made.qcow2", "made.qcow2",
     QcowL1},
    {"QcowL2", "qemu-img", "qemu-img convert -f raw -O qcow2 disk made.qcow2", "made.qcow2",
     [](const std::string &image) { return BigAt(image, QcowL1(image), 8) & 0x00FFFFFFFFFFFE00; }},
    {"QcowOfSmallClusters", "qemu-img",
     "qemu-img convert -f raw -O qcow2 -o cluster_size=4k disk made.qcow2", "made.qcow2", QcowL1},
    {"PackedQcow", "qemu-img", "qemu-img convert -c -f raw -O qcow2 disk made.qcow2", "made.qcow2",
     [](const std::string &image) { return BigAt(image, QcowL1(image), 8) & 0x00FFFFFFFFFFFE00; }},
    {"Vdi", "qemu-img", "qemu-img convert -f raw -O vdi disk made.vdi", "made.vdi",
     [](const std::string &image) { return LittleAt(image, 0x154, 4); }},
    {"VhdThatGrows", "qemu-img",
     "qemu-img convert -f raw -O vpc -o subformat=dynamic,force_size=on disk made.vhd", "made.vhd",
     [](const std::string &image) { return BigAt(image, 512 + 16, 8); }},
    {"VmdkThatGrows", "qemu-img",
     "qemu-img convert -f raw -O vmdk -o subformat=monolithicSparse disk made.vmdk", "made.vmdk",
     [](const std::string &image) {
         return LittleAt(image, LittleAt(image, 56, 8) * kSector, 4) * kSector;
     }},
    {"PackedVmdk", "qemu-img",
     "qemu-img convert -f raw -O vmdk -o subformat=streamOptimized disk made.vmdk", "made.vmdk",
     [](const std::string &image) { return image.size() / 2; }},
    {"PackedE01", "ewfacquirestream", "ewfacquirestream -q -c best -t made < disk", "made.E01",
     [](const std::string &) { return uint64_t{8 * kMiB + 10000}; }},
    {"E01", "ewfacquirestream", "ewfacquirestream -q -t made < disk", "made.E01",
     [](const std::string &) { return uint64_t{4 * kMiB}; }},
    {"TableOfE01", "ewfacquirestream", "ewfacquirestream -q -t made < disk", "made.E01",
     [](const std::string &image) { return image.rfind(std::string("table\0", 6)) + 1000; }},
};

INSTANTIATE_TEST_SUITE_P(Containers, BadTable, testing::ValuesIn(kFormats),
                         [](const auto &tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace vx
