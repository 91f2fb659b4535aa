// Files that are written with holes.
#include "ArrivingFile.h"
#include "TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace vx {
namespace {

constexpr size_t kBlock = 4096;
constexpr size_t kHole = ArrivingFile::kShortestHole;

class FileWithHoles : public testing::Test {
protected:
    // Writes the bytes in pieces, and returns what the file has.
    std::string Write(const std::string &bytes, size_t piece)
    {
        ArrivingFile file(_partials, 255);
        const auto folder = std::make_shared<UniqueFd>(
            open(_folder.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        EXPECT_TRUE(file.Create(folder, "file", nullptr));
        for (size_t at = 0; at < bytes.size(); at += piece) {
            const size_t count = std::min(piece, bytes.size() - at);
            EXPECT_EQ(file.WriteWithHoles(bytes.data() + at, count), count);
        }
        EXPECT_TRUE(file.EndHoles());
        struct stat found;
        EXPECT_EQ(fstat(file.File(), &found), 0);
        _allocated = static_cast<size_t>(found.st_blocks) * 512;
        EXPECT_TRUE(file.Close() && file.Deliver());
        return _folder.ReadFile("file");
    }

    static std::string Zeros(size_t count) { return std::string(count, '\0'); }
    static std::string Others(size_t count) { return std::string(count, 'x'); }

    const TemporaryFolder _folder{};
    const PartialNames _partials{};
    size_t _allocated = 0;  // on the disk
};

TEST_F(FileWithHoles, ARunOfZerosThatIsLongEnoughTakesNoRoom)
{
    const std::string bytes = Others(kBlock) + Zeros(kHole) + Others(kBlock);
    for (const size_t piece : {bytes.size(), kHole, 2 * kBlock, kBlock}) {
        EXPECT_TRUE(Write(bytes, piece) == bytes) << piece;
        EXPECT_EQ(_allocated, 2 * kBlock) << piece;
    }
}

TEST_F(FileWithHoles, AShorterOneIsWritten)
{
    const std::string bytes = Others(kBlock) + Zeros(kHole - kBlock) + Others(kBlock);
    for (const size_t piece : {bytes.size(), kHole, kBlock}) {
        EXPECT_TRUE(Write(bytes, piece) == bytes) << piece;
        EXPECT_EQ(_allocated, bytes.size()) << piece;
    }
}

TEST_F(FileWithHoles, AFileMayBeginAndEndInOne)
{
    for (const size_t tail : {size_t{0}, size_t{512}}) {
        const std::string bytes = Zeros(kHole) + Others(kBlock) + Zeros(2 * kHole + tail);
        EXPECT_TRUE(Write(bytes, kHole) == bytes) << tail;
        EXPECT_EQ(_allocated, kBlock) << tail;
    }
    EXPECT_TRUE(Write(Zeros(3 * kHole), kHole) == Zeros(3 * kHole));
    EXPECT_EQ(_allocated, 0u);
    EXPECT_TRUE(Write(Others(100) + Zeros(100), 200) == Others(100) + Zeros(100));
    EXPECT_TRUE(Write(Zeros(100), 100) == Zeros(100));
    EXPECT_EQ(Write("", 1), "");
}

TEST_F(FileWithHoles, WhateverIsWrittenIsReadAgain)
{
    std::mt19937 random(1);
    for (int round = 0; round < 50; ++round) {
        std::string bytes;
        while (bytes.size() < 8 * kHole) {
            const size_t blocks = random() % 40;
            bytes += random() % 2 != 0 ? Zeros(blocks * kBlock) : Others(blocks * kBlock);
        }
        bytes.resize(bytes.size() - random() % kBlock);
        EXPECT_TRUE(Write(bytes, kBlock * (1 + random() % 64)) == bytes) << round;
    }
}

}  // namespace
}  // namespace vx
