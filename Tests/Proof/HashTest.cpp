// Hashes of what passes, and of what lies on a disk.
#include "ArrivedFiles.h"
#include "CopyOnDisk.h"
#include "ManifestRecord.h"
#include "TemporaryFolder.h"
#include "UniqueFd.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

// FIPS 180-4 examples, published with the standard.
constexpr char kOfAbc[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
constexpr char kOfNothing[] = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";

TEST(Sha256Stream, GivesThePublishedHashesOneFileAfterTheOther)
{
    Sha256Stream stream;
    EXPECT_EQ(HexText(stream.Finish()), kOfNothing);
    stream.Add("a", 1);
    stream.Add("bc", 2);
    EXPECT_EQ(HexText(stream.Finish()), kOfAbc);
    stream.Add("x", 1);
    stream.Restart();
    stream.Add("abc", 3);
    EXPECT_EQ(HexText(stream.Finish()), kOfAbc);
}

class OnDisk : public ::testing::Test {
protected:
    UniqueFd Open(const std::string &contents)
    {
        return UniqueFd(open(_folder.WriteFile("file", contents).c_str(), O_RDONLY | O_CLOEXEC));
    }

    TemporaryFolder _folder;
    CopyOnDisk _copy;
    Sha256Digest _digest = {};
    int64_t _size = -1;
};

TEST_F(OnDisk, ReadingLeavesTheAccessTimeAsItWas)
{
    const UniqueFd file = Open("abc");
    const timespec times[] = {{1000, 0}, {2000, 0}};
    ASSERT_EQ(futimens(file.Get(), times), 0);
    EXPECT_EQ(_copy.Hash(
                  file.Get(), [](int64_t) { return true; }, &_digest, &_size),
              CopyOnDisk::End::kWhole);
    struct stat found;
    ASSERT_EQ(fstat(file.Get(), &found), 0);
    EXPECT_EQ(found.st_atime, 1000);
}

TEST_F(OnDisk, AFileOfSeveralPiecesIsHashedAsAWhole)
{
    const std::string contents((size_t{5} << 20) + 7, 'x');
    Sha256Stream stream;
    stream.Add(contents.data(), contents.size());
    const Sha256Digest expected = stream.Finish();
    int64_t counted = 0;
    const UniqueFd file = Open(contents);
    const auto count = [&counted](int64_t bytes) { return (counted += bytes) > 0; };
    EXPECT_EQ(_copy.Hash(file.Get(), count, &_digest, &_size), CopyOnDisk::End::kWhole);
    EXPECT_EQ(_digest, expected);
    EXPECT_EQ(_size, static_cast<int64_t>(contents.size()));
    EXPECT_EQ(counted, _size);
}

TEST_F(OnDisk, AStopEndsTheReadingAndLeavesNothingForTheNextFile)
{
    const UniqueFd file = Open("xyz");
    const auto stop = [](int64_t) { return false; };
    EXPECT_EQ(_copy.Hash(file.Get(), stop, &_digest, &_size), CopyOnDisk::End::kStopped);
    const UniqueFd other = Open("abc");
    const auto go = [](int64_t) { return true; };
    EXPECT_EQ(_copy.Hash(other.Get(), go, &_digest, &_size), CopyOnDisk::End::kWhole);
    EXPECT_EQ(HexText(_digest), kOfAbc);
}

TEST_F(OnDisk, WhatCannotBeReadFails)
{
    const UniqueFd folder(open(_folder.Path().c_str(), O_RDONLY | O_CLOEXEC));
    const auto go = [](int64_t) { return true; };
    EXPECT_EQ(_copy.Hash(folder.Get(), go, &_digest, &_size), CopyOnDisk::End::kFailed);
    EXPECT_EQ(errno, EISDIR);
}

TEST(ArrivedFiles, AreSortedAndFoundByTheirNumbers)
{
    ArrivedFiles files;
    for (const uint32_t number : {7U, 3U, 5U}) {
        ArrivedFiles::File file;
        file.number = number;
        file.size = number * 10;
        files.Add(file, number == 5 ? "other" : "");
    }
    files.Sort();
    ASSERT_EQ(files.Files().size(), 3u);
    EXPECT_EQ(files.Files()[0].number, 3u);
    EXPECT_EQ(files.Files()[2].number, 7u);
    ASSERT_NE(files.Find(5), nullptr);
    EXPECT_EQ(files.Find(5)->size, 50);
    EXPECT_EQ(files.Find(4), nullptr);
    EXPECT_EQ(files.Find(8), nullptr);
    EXPECT_EQ(files.OtherPathOf(5), "other");
    EXPECT_EQ(files.OtherPathOf(7), "");
}

TEST(ArrivedFiles, AreTakenFromSeveralThreads)
{
    ArrivedFiles files;
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&files, thread] {
            for (uint32_t i = 0; i < 1000; ++i) {
                ArrivedFiles::File file;
                file.number = i * 4 + thread;
                files.Add(file);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    files.Sort();
    ASSERT_EQ(files.Files().size(), 4000u);
    for (uint32_t i = 0; i < 4000; ++i)
        EXPECT_EQ(files.Files()[i].number, i);
}

}  // namespace
}  // namespace vx
