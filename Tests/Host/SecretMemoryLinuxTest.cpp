// What is left of a secret in the memory of volume-host while the explorer runs; asks the kernel,
// so Linux only.
#include "ChildProcess.h"
#include "Eventually.h"
#include "PipeFolder.h"
#include "UniqueFd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <string_view>
#include <unistd.h>

namespace {

struct Range {
    uint64_t begin = 0;
    uint64_t end = 0;
};

// The writable mappings that can hold a variable; a sanitizer's own ones are far larger.
std::vector<Range> WritableMappings(pid_t process)
{
    constexpr uint64_t kLargest = 64ULL << 20;
    std::vector<Range> ranges;
    std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long long begin = 0;
        unsigned long long end = 0;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%llx-%llx %4s", &begin, &end, rights) == 3 &&
            std::string_view(rights).substr(0, 2) == "rw" && end - begin <= kLargest)
            ranges.push_back({begin, end});
    }
    return ranges;
}

int CountIn(std::string_view memory, const std::string &text)
{
    int count = 0;
    for (size_t at = memory.find(text); at != memory.npos; at = memory.find(text, at + 1))
        ++count;
    return count;
}

int CountInMemory(pid_t process, const std::string &text)
{
    const vx::UniqueFd memory(
        open(("/proc/" + std::to_string(process) + "/mem").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(bool(memory));
    int count = 0;
    for (const Range &range : WritableMappings(process)) {
        std::string bytes(range.end - range.begin, '\0');
        const ssize_t got =
            pread(memory.Get(), bytes.data(), bytes.size(), static_cast<off_t>(range.begin));
        count += CountIn(std::string_view(bytes).substr(0, std::max<ssize_t>(got, 0)), text);
    }
    return count;
}

// The explorer's parent.
pid_t HostOf(const std::string &explorer)
{
    std::ifstream status("/proc/" + explorer + "/status");
    int parent = 0;
    for (std::string line; std::getline(status, line);) {
        if (std::sscanf(line.c_str(), "PPid: %d", &parent) == 1)
            break;
    }
    return parent;
}

std::string ArgumentsOf(const std::string &process)
{
    std::ifstream file("/proc/" + process + "/cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Ways to give a secret on the command line.
class SecretMemory : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(SecretMemory, NothingIsLeftOfASecretWhileTheExplorerRuns)
{
    for (const std::string secret : {"0pen sesame", "a s3cret that is longer than a short text"}) {
        const PipeFolder folder;
        const std::string file = folder.At("reported");
        std::vector<std::string> arguments = {"--explorer", FAKE_EXPLORER, "wait:" + file};
        arguments.insert(arguments.end(), GetParam().begin(), GetParam().end());
        arguments.push_back(secret);
        ChildProcess host(VOLUME_HOST, arguments);
        ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(file); }));
        std::string explorer;
        std::getline(std::ifstream(file), explorer);
        // Freed memory has lost its beginning.
        const std::string end = secret.substr(secret.size() / 2);
        EXPECT_TRUE(Eventually([&] { return CountInMemory(HostOf(explorer), end) == 0; }))
            << CountInMemory(HostOf(explorer), end) << " copies";
        host.Signal(SIGTERM);
        EXPECT_EQ(host.AwaitEnd(), 128 + SIGTERM);
    }
}

TEST(SecretMemoryOfAFile, NothingIsLeftOfItWhileTheExplorerRuns)
{
    const std::string secret = "a s3cret that is longer than a short text";
    const PipeFolder folder;
    const std::string file = folder.At("reported");
    ChildProcess host(VOLUME_HOST, {"--explorer", FAKE_EXPLORER, "wait:" + file, "--unlock",
                                    "password", "@" + folder.WriteFile("secret", secret)});
    ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(file); }));
    std::string explorer;
    std::getline(std::ifstream(file), explorer);
    const std::string end = secret.substr(secret.size() / 2);
    EXPECT_TRUE(Eventually([&] { return CountInMemory(HostOf(explorer), end) == 0; }))
        << CountInMemory(HostOf(explorer), end) << " copies";
    EXPECT_EQ(ArgumentsOf(explorer).find("--unlock"), std::string::npos);
    EXPECT_EQ(ArgumentsOf(explorer).find(secret), std::string::npos);
    host.Signal(SIGTERM);
    EXPECT_EQ(host.AwaitEnd(), 128 + SIGTERM);
}

INSTANTIATE_TEST_SUITE_P(Forms, SecretMemory,
                         testing::Values(std::vector<std::string>{"password"},
                                         std::vector<std::string>{"--unlock", "password"}),
                         [](const auto &form) {
                             return form.param.size() == 1 ? "Words" : "Option";
                         });

}  // namespace
