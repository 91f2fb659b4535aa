// VHDX images that qemu-img writes hold the disk that they were made from, and qemu-img reads those
// of the tests' writer as this library does.
#include "VhdxTest.h"

#include <algorithm>
#include <unistd.h>

namespace vx {
namespace {

struct Made {
    const char *name;
    const char *options;
    size_t bytes;

    friend void PrintTo(const Made &made, std::ostream *out) { *out << made.name; }
};

class VhdxOfQemu : public VhdxTest {
protected:
    bool Run(const std::string &line) const
    {
        return RunShell("cd " + Quoted(folder.Path()) + " && " + line);
    }
};

class EachMadeVhdx : public VhdxOfQemu, public testing::WithParamInterface<Made> {};

// Noise at the beginning, across what may be the end of a block, and at the end.
std::string SparseDisk(size_t bytes)
{
    std::string disk(bytes, '\0');
    const std::string noise = NoiseBytes(100000, 31);
    for (const size_t at : {size_t{512}, bytes / 3 - 50000, bytes - noise.size()})
        disk.replace(at, noise.size(), noise);
    return disk;
}

TEST_P(EachMadeVhdx, HoldsTheDiskThatItWasMadeFrom)
{
    VX_NEEDS("qemu-img");
    for (const bool isSparse : {true, false}) {
        const size_t bytes = GetParam().bytes;
        const std::string disk = isSparse ? SparseDisk(bytes) : NoiseBytes(bytes, 33);
        folder.WriteFile("raw", disk);
        ASSERT_TRUE(Run(std::string("qemu-img convert -f raw -O vhdx -o ") + GetParam().options +
                        " raw x.vhdx"));
        Container container;
        const Error error = OpenAt(folder.At("x.vhdx"), &container);
        ASSERT_FALSE(error) << error.detail;
        ASSERT_EQ(container.notes, std::vector<std::string>{});
        ASSERT_EQ(container.source->Size(), bytes);
        EXPECT_TRUE(Read(container, 0, bytes) == disk);
        for (size_t at = 0; at + 99999 < bytes; at += 900001)
            ASSERT_TRUE(Read(container, at, 99999) == disk.substr(at, 99999)) << at;
    }
}

constexpr size_t kMiB = size_t{1} << 20;

INSTANTIATE_TEST_SUITE_P(
    Vhdx, EachMadeVhdx,
    testing::Values(Made{"Dynamic", "subformat=dynamic", 24 * kMiB + 512},
                    Made{"Fixed", "subformat=fixed", 24 * kMiB + 512},
                    Made{"DynamicOf1MiB", "subformat=dynamic,block_size=1M", 9 * kMiB + 1024},
                    Made{"FixedOf1MiB", "subformat=fixed,block_size=1M", 9 * kMiB + 1024},
                    Made{"DynamicOf2MiB", "subformat=dynamic,block_size=2M,log_size=2M", 9 * kMiB},
                    Made{"DynamicOf64MiB", "subformat=dynamic,block_size=64M,log_size=16M",
                         70 * kMiB + 512},
                    Made{"FixedOf256MiB", "subformat=fixed,block_size=256M", 20 * kMiB},
                    Made{"DynamicOf256MiB", "subformat=dynamic,block_size=256M", 20 * kMiB},
                    Made{"WithoutZeroState", "subformat=dynamic,block_state_zero=off", 20 * kMiB}),
    [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(VhdxOfQemu, ReadsWhatTheWriterOfTheTestsWrites)
{
    VX_NEEDS("qemu-img");
    VhdxRecipe recipe;
    recipe.diskBytes = 5 * kMiB;
    VhdxWriter writer(recipe);
    writer.AddBlock(NoiseBytes(kMiB, 1));
    for (const uint8_t state : {0, 1, 2, 3})
        writer.AddState(state);
    const Container container = Open(writer.Image());
    ASSERT_TRUE(Run("qemu-img convert -f vhdx -O raw x.vhdx raw"));
    EXPECT_TRUE(Read(container, 0, 5 * kMiB) == folder.ReadFile("raw"));
}

TEST_F(VhdxOfQemu, ReplaysALogOfTheWriterToTheSameDisk)
{
    VX_NEEDS("qemu-img");
    VhdxRecipe recipe;
    recipe.diskBytes = 3 * kMiB;
    recipe.logId = std::string(16, 'L');
    VhdxWriter writer(recipe);
    writer.AddBlock(NoiseBytes(kMiB, 1));
    writer.AddState(2);
    writer.AddBlock(NoiseBytes(kMiB, 2));
    std::string image = writer.Image();
    std::string table = image.substr(writer.TableAt(), 4096);
    std::swap_ranges(table.begin(), table.begin() + 8, table.begin() + 16);
    VhdxLogEntry entry;
    entry.logId = recipe.logId;
    entry.flushedBytes = image.size();
    entry.neededBytes = image.size();
    entry.changes = {{writer.BlocksAt() + 4096, "", 8192}, {writer.TableAt(), table, 0}};
    VhdxWriter::PutLog(0, entry, &image);
    const Container container = Open(image);
    ASSERT_TRUE(Run("cp x.vhdx copy.vhdx && qemu-img check -q -r all copy.vhdx && "
                    "qemu-img convert -f vhdx -O raw copy.vhdx raw"));
    EXPECT_TRUE(Read(container, 0, 3 * kMiB) == folder.ReadFile("raw"));
    EXPECT_TRUE(folder.ReadFile("copy.vhdx") != image);
}

// The program is killed at a write, at a later one each time. Several of its threads write, each of
// which strace counts for itself, so which write it is differs from run to run.
class KilledProgram : public VhdxOfQemu {
protected:
    // False: the program ended before it was killed.
    bool IsKilledAt(size_t write)
    {
        const std::string calls = "pwrite64,pwritev,pwritev2";
        EXPECT_TRUE(Run("qemu-img create -q -f vhdx -o block_size=1M x.vhdx 64M; rm -f ended; "
                        "(strace -f -o trace -e trace=" +
                        calls + " -e inject=" + calls +
                        ":signal=KILL:when=" + std::to_string(write) +
                        " qemu-io -f vhdx -c 'write -q -P 7 0 3M' -c 'write -q -P 9 20M 2M' x.vhdx "
                        "&& touch ended); cp x.vhdx copy.vhdx && qemu-img check -q -r all "
                        "copy.vhdx && qemu-img convert -f vhdx -O raw copy.vhdx raw"));
        return access(folder.At("ended").c_str(), F_OK) != 0;
    }

    void CompareWithRepaired()
    {
        const std::string before = folder.ReadFile("x.vhdx");
        const bool isRepaired = before != folder.ReadFile("copy.vhdx");
        Container container;
        if (const Error error = OpenAt(folder.At("x.vhdx"), &container)) {
            // The first entry of its log is torn; the other program ignores it.
            EXPECT_NE(error.detail.find("no complete sequence"), std::string::npos);
            EXPECT_FALSE(isRepaired);
            ++refused;
            return;
        }
        EXPECT_TRUE(Read(container, 0, 64 * kMiB) == folder.ReadFile("raw"));
        EXPECT_TRUE(folder.ReadFile("x.vhdx") == before);
        EXPECT_TRUE(!isRepaired || container.notes.size() == 1);
        ++(isRepaired ? replayed : whole);
    }

    size_t replayed = 0;
    size_t whole = 0;
    size_t refused = 0;
};

TEST_F(KilledProgram, ItsImageReadsAsAfterItsRepair)
{
    VX_NEEDS("qemu-img");
    VX_NEEDS("qemu-io");
    VX_NEEDS("strace");
    constexpr size_t kMostRounds = 10;
    constexpr size_t kMostWrites = 100;
    for (size_t round = 0; round < kMostRounds && replayed == 0; ++round) {
        size_t write = 1;
        for (; IsKilledAt(write); ++write) {
            SCOPED_TRACE(write);
            ASSERT_LT(write, kMostWrites);
            CompareWithRepaired();
        }
        CompareWithRepaired();
    }
    EXPECT_GT(replayed, 0U);
    EXPECT_GT(replayed + whole, refused);
}

}  // namespace
}  // namespace vx
