// Where a secret lies in the memory of a process that gets it over the channel; asks the kernel, so
// Linux only. The process is forked before the secret is made up here, so that it has it from the
// channel alone.
#include "ChannelPeer.h"
#include "ChildChannel.h"
#include "HostChannel.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <random>
#include <sys/mman.h>
#include <sys/wait.h>
#include <vector>

namespace vx {
namespace {

constexpr size_t kSecretBytes = 31;

struct Mapping {
    uint64_t begin = 0;
    uint64_t end = 0;
    std::string flags;  // " rd wr lo dd "
};

// The writable mappings that can hold a variable; a sanitizer's own ones are far larger.
std::vector<Mapping> WritableMappings(pid_t process)
{
    constexpr uint64_t kLargest = 64 << 20;
    constexpr std::string_view kFlags = "VmFlags:";
    std::vector<Mapping> mappings;
    bool isWanted = false;
    std::ifstream lines("/proc/" + std::to_string(process) + "/smaps");
    for (std::string line; std::getline(lines, line);) {
        Mapping mapping;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s", &mapping.begin, &mapping.end,
                        rights) == 3) {
            isWanted = strncmp(rights, "rw", 2) == 0 && mapping.end - mapping.begin <= kLargest;
            if (isWanted)
                mappings.push_back(mapping);
        } else if (isWanted && line.compare(0, kFlags.size(), kFlags) == 0) {
            mappings.back().flags = line.substr(kFlags.size()) + " ";
        }
    }
    return mappings;
}

// Not under a sanitizer, nor where the limit is zero.
bool CanLockMemory()
{
    constexpr size_t kBytes = 4096;
    void *page = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    bool isLocked = mlock(page, kBytes) == 0;
    const auto place = reinterpret_cast<uintptr_t>(page);
    for (const Mapping &mapping : WritableMappings(getpid()))
        if (mapping.begin <= place && place < mapping.end)
            isLocked = isLocked && mapping.flags.find(" lo ") != std::string::npos;
    munmap(page, kBytes);
    return isLocked;
}

// The flags of each mapping in which the text stands.
std::vector<std::string> PlacesOf(const std::string &text, pid_t process)
{
    const UniqueFd memory(
        open(("/proc/" + std::to_string(process) + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(bool(memory));
    std::vector<std::string> places;
    for (const Mapping &mapping : WritableMappings(process)) {
        std::string bytes(mapping.end - mapping.begin, '\0');
        const ssize_t got =
            pread(memory.Get(), bytes.data(), bytes.size(), static_cast<off_t>(mapping.begin));
        bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
        if (bytes.find(text) != bytes.npos)
            places.push_back(mapping.flags);
    }
    return places;
}

// What the forked process does at each step, and that it waits in between.
class Steps {
public:
    void Finish() const { EXPECT_TRUE(SendAll(_pair.one.Get(), "s")); }
    void Await() const
    {
        char byte = 0;
        EXPECT_EQ(read(_pair.one.Get(), &byte, 1), 1);
    }
    // In the forked process.
    void FinishAndAwait() const
    {
        char byte = 0;
        if (!SendAll(_pair.other.Get(), "s") || read(_pair.other.Get(), &byte, 1) != 1)
            _exit(2);
    }

private:
    RawPair _pair;
};

// Another one each time: an earlier one may lie in what the process was forked from.
std::string MadeUpSecret()
{
    std::random_device random;
    std::string secret = "geheim-";
    while (secret.size() < kSecretBytes)
        secret += static_cast<char>('a' + random() % 26);
    return secret;
}

void ExpectProtectedOnce(const std::string &secret, pid_t process)
{
    const auto places = PlacesOf(secret, process);
    ASSERT_EQ(places.size(), 1u);
    if (CanLockMemory())
        EXPECT_THAT(places[0], testing::HasSubstr(" lo "));
    EXPECT_THAT(places[0], testing::HasSubstr(" dd "));
}

void ExpectEndedWell(pid_t process)
{
    int status = -1;
    waitpid(process, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(ChannelSecretMemory, OfTheLibraryHasTheSecretOnceAndLockedWhileItOpens)
{
    const Steps steps;
    RawPair pair;
    const pid_t process = fork();
    if (process == 0) {
        pair.other.Close();
        ChildChannel child(std::move(pair.one));
        {
            ChildChannel::Opening opening;
            if (!child.ReadOpening(&opening, std::chrono::seconds(30)))
                _exit(1);
            steps.FinishAndAwait();
        }
        steps.FinishAndAwait();
        _exit(0);
    }
    const std::string secret = MadeUpSecret();
    ASSERT_TRUE(
        SendAll(pair.other.Get(), Message(1, Text("volume") + Text("password") + Text(secret))));
    steps.Await();
    ExpectProtectedOnce(secret, process);
    steps.Finish();
    steps.Await();
    EXPECT_TRUE(PlacesOf(secret, process).empty());
    steps.Finish();
    ExpectEndedWell(process);
}

TEST(ChannelSecretMemory, OfAHostHasTheMasterKeyOnceAndLocked)
{
    const Steps steps;
    HostChannel host;
    ASSERT_TRUE(host.Prepare({}));
    const UniqueFd child(dup(host.ChildDescriptor()));
    const pid_t process = fork();
    if (process == 0) {
        {
            std::optional<ChannelReport> report;
            while (!report || !std::holds_alternative<ChannelMasterKey>(*report))
                report = host.Read();
            steps.FinishAndAwait();
        }
        steps.FinishAndAwait();
        _exit(0);
    }
    const std::string secret = MadeUpSecret();
    ASSERT_TRUE(SendAll(child.Get(), Message(3, U32(0) + Text("")) + Message(6, secret)));
    steps.Await();
    ExpectProtectedOnce(secret, process);
    steps.Finish();
    steps.Await();
    EXPECT_TRUE(PlacesOf(secret, process).empty());
    steps.Finish();
    ExpectEndedWell(process);
}

TEST(ChannelSecretMemory, OfATrialHasItsMasterKeyOnlyLockedAlsoWhileTheHostDoesNotRead)
{
    const Steps steps;
    RawPair pair;
    RawPair source;
    const pid_t process = fork();
    if (process == 0) {
        ChildChannel child(std::move(pair.one));
        child.Report(ChannelOpened{});
        while (child.SendKept())
            child.Report(ChannelLoss{1});
        {
            ProtectedBytes key(kSecretBytes);
            if (read(source.one.Get(), key.Data(), key.Size()) != kSecretBytes)
                _exit(1);
            child.Report(ChannelMasterKey{std::move(key)});
        }
        steps.FinishAndAwait();
        _exit(0);
    }
    const std::string secret = MadeUpSecret();
    ASSERT_TRUE(SendAll(source.other.Get(), secret));
    steps.Await();
    ExpectProtectedOnce(secret, process);
    steps.Finish();
    ExpectEndedWell(process);
}

}  // namespace
}  // namespace vx
