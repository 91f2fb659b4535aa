// What an image makes a process hold at most while it is opened and read; asks the kernel, so Linux
// only.
#pragma once

#include "TestImage.h"

#include <fstream>
#include <functional>
#include <malloc.h>
#include <string>
#include <unistd.h>

namespace vx {

inline constexpr long kMemoryLimitKiB = 64 * 1024;
inline constexpr const char *kClearRefs = "/proc/self/clear_refs";

// A line of /proc/self/status, in KiB; negative: there is none.
inline long KiBOf(const std::string &what)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(what + ":", 0) == 0)
            return std::stol(line.substr(what.size() + 1));
    }
    return -1;
}

// How far the resident memory rose above where it was.
inline long RiseOfMemoryKiB(const std::function<void()> &work)
{
    malloc_trim(0);                    // what the test has freed would hide what is taken
    std::ofstream(kClearRefs) << "5";  // begins the highest value anew
    const long before = KiBOf("VmRSS");
    work();
    return KiBOf("VmHWM") - before;
}

class HostileMemory : public testing::Test {
protected:
    void SetUp() override
    {
        if (access(kClearRefs, W_OK) != 0)
            GTEST_SKIP() << kClearRefs << " is missing";
    }

    void ExpectLittleFor(const std::string &bytes, const char *kind, const char *secret) const
    {
        const std::string path = image.Folder().WriteFile("hostile", bytes);
        ExpectLittle([&] { OpenImage(path, kind, secret); });
    }

    static void ExpectLittle(const std::function<void()> &work)
    {
        const long rise = RiseOfMemoryKiB(work);
        EXPECT_GE(rise, 0);
        EXPECT_LT(rise, kMemoryLimitKiB);
    }

    const std::string highest = std::string(8, '\xff');
    const TestImage image{};
};

}  // namespace vx
