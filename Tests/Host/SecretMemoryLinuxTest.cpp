// What is left of a secret in the memory of volume-host while the explorer runs; asks the kernel,
// so Linux only.
#include "ChildProcess.h"
#include "Eventually.h"
#include "PipeFolder.h"
#include "ProcessMemoryLinux.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <unistd.h>

namespace {

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
        EXPECT_TRUE(Eventually([&] { return vx::CountInMemory(HostOf(explorer), end) == 0; }))
            << vx::CountInMemory(HostOf(explorer), end) << " copies";
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
    EXPECT_TRUE(Eventually([&] { return vx::CountInMemory(HostOf(explorer), end) == 0; }))
        << vx::CountInMemory(HostOf(explorer), end) << " copies";
    EXPECT_EQ(ArgumentsOf(explorer).find("--unlock"), std::string::npos);
    EXPECT_EQ(ArgumentsOf(explorer).find(secret), std::string::npos);
    host.Signal(SIGTERM);
    EXPECT_EQ(host.AwaitEnd(), 128 + SIGTERM);
}

std::string LineOf(const std::string &path)
{
    std::string line;
    std::getline(std::ifstream(path), line);
    return line;
}

TEST(SecretMemoryOfTheKey, NothingIsLeftOfItWhileTheExplorerRuns)
{
    const PipeFolder folder;
    const vx::TemporaryFolder programs;
    programs.MakeLink("libBitLockerWapper.dylib", KEY_LIBRARY);
    const std::string explorer = programs.MakeLink("Explorer.app/explorer", FAKE_EXPLORER);
    const std::string file = folder.At("reported");
    ChildProcess host(VOLUME_HOST, {"--explorer", explorer, "opening-and-wait:" + file, "--unlock",
                                    "password", "open sesame"});
    ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(file + ".pid"); }));
    std::ifstream opening(file);
    std::string volume, kind, key;
    ASSERT_TRUE(opening >> volume >> kind >> key);
    EXPECT_EQ(kind, "vmk");
    ASSERT_GE(key.size(), 64u);
    const std::string end = key.substr(key.size() / 2);
    const pid_t process = HostOf(LineOf(file + ".pid"));
    EXPECT_TRUE(Eventually([&] { return vx::CountInMemory(process, end) == 0; }))
        << vx::CountInMemory(process, end) << " copies";
    host.Signal(SIGTERM);
    EXPECT_EQ(host.AwaitEnd(), 128 + SIGTERM);
}

TEST(TrialMemory, IsNeverWrittenToACoreFile)
{
    struct rlimit former = {};
    ASSERT_EQ(getrlimit(RLIMIT_CORE, &former), 0);
    if (former.rlim_max == 0)
        GTEST_SKIP() << "no process has a core file here";
    const struct rlimit most = {former.rlim_max, former.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &most), 0);
    const vx::TemporaryFolder folder;
    folder.MakeLink("libBitLockerWapper.dylib", CANCELLABLE_LIBRARY);
    const std::string explorer = folder.MakeLink("Explorer.app/explorer", FAKE_EXPLORER);
    ChildProcess host(VOLUME_HOST,
                      {"--explorer", explorer, "exit:none", "--unlock", "password", folder.Path()});
    setrlimit(RLIMIT_CORE, &former);
    ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(folder.At("opening")); }));
    struct rlimit ofTrial = {1, 1};
    EXPECT_EQ(prlimit(std::stoi(LineOf(folder.At("process"))), RLIMIT_CORE, nullptr, &ofTrial), 0);
    EXPECT_EQ(ofTrial.rlim_cur, 0u);
    EXPECT_EQ(ofTrial.rlim_max, 0u);
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
