// How often an opening reads a sector of a disk that may be failing, and when it stops.
#include "DiskWriter.h"
#include "OpenSource.h"
#include "TestImage.h"

#include "Container.h"

#include <atomic>
#include <fstream>
#include <iterator>

namespace vx {
namespace {

// Counts the reads of the one sector at a place; cancels openings at each if it is to.
class WatchedSource final : public ByteSource {
public:
    WatchedSource(Source source, uint64_t place) : _source(std::move(source)), _place(place) {}

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (offset == _place && count == DiskWriter::kSector) {
            ++_reads;
            if (cancels)
                CancelFlag::RaiseAll();
        }
        return _source->ReadAt(offset, buffer, count);
    }
    int Reads() const { return _reads; }

    bool cancels = false;

private:
    const Source _source;
    const uint64_t _place;
    mutable std::atomic<int> _reads{0};
};

class OpeningReads : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        ASSERT_TRUE(image.MakeFat(4, "-F 12"));
    }

    std::string Bytes() const
    {
        std::ifstream file(image.Path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    Result<OpenedVolume> Open(const std::shared_ptr<const WatchedSource> &source,
                              const UnlockRequest &unlocking) const
    {
        Container container;
        container.source = source;
        return OpenDiskContents(container, {}, unlocking);
    }

    const TestImage image{};
};

// A probe, a look at the size of the file system, and its opening.
TEST_F(OpeningReads, AVolumeIsProbedOnce)
{
    const auto source = std::make_shared<WatchedSource>(SourceOf(Bytes()), 0);
    ASSERT_TRUE(Open(source, {}));
    EXPECT_LE(source->Reads(), 3);
}

TEST_F(OpeningReads, APartitionIsProbedOnce)
{
    constexpr uint64_t kFirst = 128;
    DiskWriter disk(10000);
    disk.PutMbr(0, 0, 0x0C, kFirst, 9000);
    disk.PutText(kFirst * DiskWriter::kSector, Bytes());
    const auto source =
        std::make_shared<WatchedSource>(SourceOf(disk.Bytes()), kFirst * DiskWriter::kSector);
    ASSERT_TRUE(Open(source, {}));
    EXPECT_LE(source->Reads(), 3);
}

// A probe and the opening of the encrypted volume; the first sector of its plaintext lies
// elsewhere.
TEST_F(OpeningReads, AnEncryptedVolumeIsProbedOnce)
{
    ASSERT_TRUE(image.Encrypt("--password correct"));
    const auto source = std::make_shared<WatchedSource>(SourceOf(Bytes()), 0);
    ASSERT_TRUE(Open(source, {UnlockKind::kPassword, "correct"}));
    EXPECT_LE(source->Reads(), 2);
}

TEST_F(OpeningReads, ACancelledOpeningOpensNoFileSystem)
{
    const CancelFlag flag;
    const auto source = std::make_shared<WatchedSource>(SourceOf(Bytes()), 0);
    source->cancels = true;
    const auto opened = Open(source, {UnlockKind::kNone, "", &flag});
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.Failure().status, Status::kCancelled);
    EXPECT_EQ(source->Reads(), 1);
}

}  // namespace
}  // namespace vx
