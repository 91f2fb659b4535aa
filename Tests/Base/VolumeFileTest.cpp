#include "VolumeFile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

namespace vx {
namespace {

// Ten bytes, of which two cannot be read; or nothing but an exception.
class TenBytes final : public VolumeFile {
public:
    std::optional<int64_t> Size() const override { return kSize; }

    bool isOutOfMemory = false;

protected:
    int64_t KnownSize() const override { return kSize; }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) override
    {
        uint32_t length = 0;
        for (; length < count && position + length < kSize; ++length) {
            const int64_t at = position + length;
            const bool isBad = at == 4 || at == 5;
            buffer[length] = isBad ? '\0' : static_cast<char>('0' + at);
            if (isBad)
                AddRange(static_cast<uint64_t>(at), 1, unread);
        }
        if (isOutOfMemory)
            throw std::bad_alloc();
        return length;
    }

private:
    static constexpr int64_t kSize = 10;
};

TEST(VolumeFile, AReadGoesOnBehindWhatItCouldNotRead)
{
    TenBytes file;
    char buffer[8];
    uint32_t done = 7;
    std::memset(buffer, '?', sizeof buffer);
    EXPECT_FALSE(file.Read(buffer, 6, &done));
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("0123\0\0??", 8));
    EXPECT_EQ(done, 4u);
    EXPECT_EQ(file.Position(), 6);
    EXPECT_TRUE(file.Read(buffer, 8, &done));
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string("6789\0\0\0\0", 8));
    EXPECT_EQ(done, 4u);
    EXPECT_EQ(file.Position(), 10);
    ASSERT_EQ(file.UnreadRanges().size(), 1u);
    EXPECT_EQ(file.UnreadRanges()[0].offset, 4u);
    EXPECT_EQ(file.UnreadRanges()[0].length, 2u);
}

TEST(VolumeFile, WithoutMemoryTheWholeBufferIsZerosAndUnread)
{
    TenBytes file;
    char buffer[8];
    uint32_t done = 7;
    file.isOutOfMemory = true;
    EXPECT_FALSE(file.Read(buffer, 8, &done));
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string(8, '\0'));
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(file.Position(), 8);
    EXPECT_FALSE(file.Read(buffer, 8, &done));
    EXPECT_EQ(file.Position(), 10);
    ASSERT_EQ(file.UnreadRanges().size(), 1u);
    EXPECT_EQ(file.UnreadRanges()[0].length, 10u);
}

}  // namespace
}  // namespace vx
