// How much memory the opening of a hostile volume takes at most; asks the kernel, so Linux only.
#include "TestImage.h"

#include <fstream>
#include <functional>
#include <unistd.h>

namespace vx {
namespace {

constexpr long kLimitKiB = 64 * 1024;
constexpr const char *kClearRefs = "/proc/self/clear_refs";

// A line of /proc/self/status, in KiB; negative: there is none.
long KiBOf(const std::string &what)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(what + ":", 0) == 0)
            return std::stol(line.substr(what.size() + 1));
    }
    return -1;
}

// How far the resident memory rose above where it was.
long RiseOfMemoryKiB(const std::function<void()> &work)
{
    std::ofstream(kClearRefs) << "5";  // begins the highest value anew
    const long before = KiBOf("VmRSS");
    work();
    return KiBOf("VmHWM") - before;
}

std::string Changed(std::string bytes, size_t at, const std::string &by)
{
    return bytes.replace(at, by.size(), by);
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
        const long rise = RiseOfMemoryKiB([&] { OpenImage(path, kind, secret); });
        EXPECT_GE(rise, 0);
        EXPECT_LT(rise, kLimitKiB);
    }

    const std::string highest = std::string(8, '\xff');
    const TestImage image{};
};

TEST_F(HostileMemory, TheMeasurementSeesWhatIsTaken)
{
    std::string taken;
    EXPECT_GE(RiseOfMemoryKiB([&] { taken.assign(kLimitKiB * 1024UL, 'x'); }), kLimitKiB / 2);
}

TEST_F(HostileMemory, SizesThatLieInTheMetadataTakeNone)
{
    VX_NEEDS("mkfs.fat");
    ASSERT_TRUE(image.MakeFat(8, "-F 12"));
    ASSERT_TRUE(image.Encrypt("--password correct"));
    const std::string bytes = image.Folder().ReadFile("image");
    const std::string signature = "-FVE-FS-";
    for (const size_t field : {8U, 16U, 28U, 64U, 68U, 72U}) {
        std::string lying = bytes;
        for (size_t at = bytes.find(signature, 512); at != bytes.npos;
             at = bytes.find(signature, at + 1))
            lying.replace(at + field, 4, "\xff\xff\xff\x7f");
        ASSERT_NE(lying, bytes);
        ExpectLittleFor(lying, "password", "correct");
    }
}

TEST_F(HostileMemory, SizesThatLieInAFatTakeNone)
{
    VX_NEEDS("mkfs.fat");
    ASSERT_TRUE(image.MakeFat(40, "-F 32 -s 1"));
    const std::string bytes = image.Folder().ReadFile("image");
    ExpectLittleFor(Changed(bytes, 32, highest), "none", "");
    ExpectLittleFor(Changed(Changed(bytes, 13, "\x80"), 32, "\xff\xff\xff\xff"), "none", "");
}

TEST_F(HostileMemory, SizesThatLieInAnNtfsTakeNone)
{
    VX_NEEDS("mkntfs");
    ASSERT_TRUE(image.MakeNtfs(8));
    const std::string bytes = image.Folder().ReadFile("image");
    for (const size_t field : {40U, 48U, 56U, 64U})
        ExpectLittleFor(Changed(bytes, field, "\xff\xff\xff\xff\xff\xff\xff\x7f"), "none", "");
    // The sizes of the first file, which is the table of files.
    const size_t table = bytes.find("FILE");
    ASSERT_NE(table, bytes.npos);
    const size_t data = bytes.find(std::string("\x80\0\0\0", 4), table + 56);
    ASSERT_LT(data, table + 1024);
    ExpectLittleFor(Changed(bytes, data + 0x28, highest + highest + highest), "none", "");
}

}  // namespace
}  // namespace vx
