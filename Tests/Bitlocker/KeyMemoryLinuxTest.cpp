// What becomes of keys in the memory of this process; asks the kernel, so Linux only.
#include "Maker/MadeUpBytes.h"
#include "TestVolume.h"

#include "CoreDumps.h"
#include "FileByteSource.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vx::bitlocker {
namespace {

constexpr size_t kKeySize = 32;
constexpr uint8_t kMask = 0xa5;

struct Range {
    uint64_t begin = 0;
    uint64_t end = 0;
};

// The writable mappings of this process that can hold a variable; a sanitizer's own ones are
// far larger.
std::vector<Range> WritableMappings()
{
    constexpr uint64_t kLargest = 64ULL << 20;
    std::vector<Range> ranges;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long long begin = 0;
        unsigned long long end = 0;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%llx-%llx %4s", &begin, &end, rights) == 3 &&
            std::strncmp(rights, "rw", 2) == 0 && end - begin <= kLargest)
            ranges.push_back({begin, end});
    }
    return ranges;
}

// The mask is put on for the comparison only: the buffers of the search are searched too.
bool IsKey(const uint8_t *place, const std::vector<uint8_t> &masked)
{
    for (size_t i = 0; i < kKeySize; ++i)
        if ((place[i] ^ kMask) != masked[i])
            return false;
    return true;
}

// How often the bytes stand in the memory of this process. masked: with kMask over each, so
// that they do not stand there for being asked.
int CountInMemory(const std::vector<uint8_t> &masked)
{
    int count = 0;
    // Opening a volume took it away, and with it an ordinary user's access to his own memory file.
    EXPECT_EQ(::prctl(PR_SET_DUMPABLE, 1), 0);
    const int memory = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    EXPECT_GE(memory, 0);
    std::vector<uint8_t> page(64 * 1024);
    for (const Range &range : WritableMappings()) {
        for (uint64_t at = range.begin; at < range.end; at += page.size() - kKeySize) {
            const size_t wanted = std::min<uint64_t>(page.size(), range.end - at);
            const ssize_t got = ::pread(memory, page.data(), wanted, static_cast<off_t>(at));
            for (ssize_t i = 0; i + static_cast<ssize_t>(kKeySize) <= got; ++i)
                count += IsKey(page.data() + i, masked);
        }
    }
    ::close(memory);
    return count;
}

// Makes a volume in another process, whose memory does not matter, and brings back its master
// key under the mask.
std::vector<uint8_t> MakeVolumeElsewhere(const std::string &path)
{
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const TestVolume volume(RecipeWithPassword(), 64 * 1024);
        maker::FileSink(path).Write(0, volume.image);
        std::vector<uint8_t> key = maker::MadeUpBytes(1).Bytes("master key", kKeySize);
        for (uint8_t &byte : key)
            byte ^= kMask;
        ::_exit(::write(ends[1], key.data(), key.size()) == static_cast<ssize_t>(kKeySize) ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    std::vector<uint8_t> masked(kKeySize);
    EXPECT_EQ(::read(ends[0], masked.data(), kKeySize), static_cast<ssize_t>(kKeySize));
    ::close(ends[0]);
    ::close(ends[1]);
    return masked;
}

TEST(KeyMemoryTest, TheSearchFindsAKeyThatIsThere)
{
    std::vector<uint8_t> key(kKeySize, 0x3c);
    key[5] = 0x77;
    std::vector<uint8_t> masked = key;
    for (uint8_t &byte : masked)
        byte ^= kMask;
    EXPECT_GE(CountInMemory(masked), 1);
    EXPECT_EQ(key[5], 0x77);  // keeps it alive
}

TEST(KeyMemoryTest, TheMasterKeyIsGoneOnceTheVolumeIsOpen)
{
    char path[] = "/tmp/key-memory-XXXXXX";
    ::close(::mkstemp(path));
    const std::vector<uint8_t> masked = MakeVolumeElsewhere(path);
    const Result<UnlockedVolume> opened =
        OpenQuickly(std::move(*FileByteSource::Open(path)), *Secret::FromPassword(kPassword));
    ::unlink(path);
    ASSERT_TRUE(opened) << opened.Failure().detail;
    EXPECT_EQ(CountInMemory(masked), 0);
}

TEST(KeyMemoryTest, KeyMaterialIsLeftOutOfCoreDumps)
{
    const KeyMaterial key(kKeySize);
    char wanted[32];
    std::snprintf(wanted, sizeof wanted, "%llx-",
                  static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(key.Data())));
    std::ifstream maps("/proc/self/smaps");
    std::string line;
    while (std::getline(maps, line) && line.rfind(wanted, 0) != 0)
        continue;
    while (std::getline(maps, line) && line.rfind("VmFlags:", 0) != 0)
        continue;
    EXPECT_TRUE(Contains(line + " ", " dd ")) << line;
}

TEST(KeyMemoryTest, CoreDumpsOfTheWholeProcessCanBeForbidden)
{
    const pid_t child = ::fork();
    if (child == 0) {
        ForbidCoreDumps();
        ::_exit(::prctl(PR_GET_DUMPABLE));
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(KeyMemoryTest, OpeningAVolumeForbidsCoreDumpsAlsoIfItDoesNotOpen)
{
    for (const char *password : {kPassword, "wrong"}) {
        const pid_t child = ::fork();
        if (child == 0) {
            const TestVolume volume(RecipeWithPassword(), 64 * 1024);
            const bool before = ::prctl(PR_GET_DUMPABLE) != 0;
            (void)volume.OpenWithPassword(password);
            ::_exit(before && ::prctl(PR_GET_DUMPABLE) == 0 ? 0 : 1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0) << password;
    }
}

TEST(KeyMemoryTest, KeyMaterialMovesAndLeavesNothingBehind)
{
    const std::vector<uint8_t> bytes(kKeySize, 7);
    KeyMaterial first{ByteView(bytes)};
    KeyMaterial second(std::move(first));
    EXPECT_EQ(second.View().Copy(), bytes);
    KeyMaterial third;
    third = std::move(second);
    EXPECT_EQ(third.View().Copy(), bytes);
    third.Wipe();
    EXPECT_TRUE(third.Empty());
    EXPECT_EQ(third.Data(), nullptr);
}

}  // namespace
}  // namespace vx::bitlocker
