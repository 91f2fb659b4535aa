// The volume itself, written to a file while its disk or the destination fails, at every place.
#include "FaultPlan.h"
#include "MarkedBytes.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr size_t kPiece = size_t{64} << 10;

class RawFaults : public testing::Test {
protected:
    // Data and runs of zeros, some of which become holes.
    static std::string Volume()
    {
        std::string bytes = MarkedBytes(1, kPiece) + std::string(3 * kPiece, '\0') +
                            MarkedBytes(2, kSector) + std::string(kPiece / 2, '\0') +
                            MarkedBytes(3, kPiece) + std::string(2 * kPiece, '\0');
        return bytes.replace(3, 8, "NTFS    ");
    }

    // The status of --raw with the faults.
    int Run(const FaultPlan &plan)
    {
        plan.Save(_folder.At("faults"), {_disk}, _folder.At("log"));
        unlink(_copy.c_str());
        ToolRun run("/usr/bin/env",
                    {"LD_PRELOAD=" VX_FAULTY_CALLS, "VX_FAULTS=" + _folder.At("faults"),
                     "ASAN_OPTIONS=verify_asan_link_order=0", VX_TOOL, "--raw", _copy, _disk});
        const int status = run.Wait();
        _printed = run.Output() + run.Errors();
        return status;
    }

    bool IsThere() const { return access(_copy.c_str(), F_OK) == 0; }
    bool HasPartial() const { return access(_folder.At("to/.raw.partial").c_str(), F_OK) == 0; }

    const TemporaryFolder _folder{};
    const std::string _bytes = Volume();
    const std::string _disk = _folder.WriteFile("disk", _bytes);
    const std::string _to = _folder.MakeFolder("to");
    const std::string _copy = _folder.At("to/raw");
    std::string _printed;
};

TEST_F(RawFaults, ABadSectorAnywhereIsZerosAndNamed)
{
    // The first one says what the volume holds, so that it does not open without it.
    for (size_t sector = 1; sector < _bytes.size() / kSector; sector += 13) {
        const uint64_t begin = sector * kSector;
        FaultPlan plan;
        plan.Bad({0, begin, begin + kSector}, EIO);
        EXPECT_EQ(Run(plan), 1) << sector;
        std::string expected = _bytes;
        expected.replace(begin, kSector, kSector, '\0');
        EXPECT_TRUE(_folder.ReadFile("to/raw") == expected) << sector;
        const std::string range = "bytes " + std::to_string(begin) + " to " +
                                  std::to_string(begin + kSector - 1) +
                                  " could not be read and are zero";
        EXPECT_NE(_printed.find(range), std::string::npos) << _printed;
    }
}

TEST_F(RawFaults, AWriteThatFailsAnywhereLeavesNoFile)
{
    int failed = 0;
    for (int write = 1; write < 1000; ++write) {
        FaultPlan plan;
        plan.Destination(_to);
        plan.Hiccup(write, EIO);
        if (Run(plan) == 0)
            break;
        EXPECT_FALSE(IsThere()) << write << _printed;
        EXPECT_FALSE(HasPartial()) << write;
        ++failed;
    }
    EXPECT_TRUE(_folder.ReadFile("to/raw") == _bytes);
    // The first piece, the zeros that are too few for a hole, and the others.
    EXPECT_GE(failed, 3);
}

TEST_F(RawFaults, ADestinationThatIsFullAnywhereKeepsNothing)
{
    for (uint64_t room = 0; room < _bytes.size() / 2; room += kPiece / 3) {
        FaultPlan plan;
        plan.Destination(_to);
        plan.Room(room, ENOSPC);
        const int status = Run(plan);
        if (status == 0) {
            EXPECT_TRUE(_folder.ReadFile("to/raw") == _bytes) << room;
            continue;
        }
        EXPECT_EQ(status, 1) << room;
        EXPECT_FALSE(IsThere()) << room;
        EXPECT_FALSE(HasPartial()) << room;
        EXPECT_NE(_printed.find("the disk is full"), std::string::npos) << _printed;
    }
}

TEST_F(RawFaults, ADiskThatGoesAwayLeavesNoFile)
{
    for (const uint64_t place : {kPiece, 3 * kPiece, _bytes.size() - kSector}) {
        FaultPlan plan;
        plan.Gone({0, place, place + kSector}, ENXIO);
        EXPECT_NE(Run(plan), 0) << place;
        EXPECT_FALSE(IsThere()) << place << _printed;
        EXPECT_FALSE(HasPartial()) << place;
    }
}

}  // namespace
}  // namespace vx
