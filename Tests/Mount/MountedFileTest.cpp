// Reads of one mounted file at the same time: which of them run together, and by which handles.
#include "MountedFile.h"

#include <cerrno>
#include <future>
#include <gtest/gtest.h>
#include <set>
#include <vector>

#include "Eventually.h"
#include "ScriptedVolume.h"

namespace vx {
namespace {

using Operation = VolumeOperation;

class MountedFileReads : public testing::Test {
protected:
    MountedFileReads() { _volume.Root().File(u"a.txt", std::string("0123456789")); }

    void Open(size_t mostReads)
    {
        _file = MountedFile::Open(_volume, u"/a.txt", mostReads);
        ASSERT_NE(_file, nullptr);
    }
    // The three bytes there; nothing if they cannot be read.
    std::string At(int64_t position)
    {
        char bytes[3] = {};
        uint32_t done = 0;
        return _file->Read(position, bytes, 3, &done) == 0 ? std::string(bytes, done) : "";
    }
    std::future<std::string> AtMeanwhile(int64_t position)
    {
        return std::async(std::launch::async, [this, position] { return At(position); });
    }
    // A read that goes on until it is released.
    std::future<std::string> BeginStalledRead()
    {
        _volume.AtCall(Operation::kReadFile, 1, Fault::kStall);
        auto first = AtMeanwhile(0);
        EXPECT_TRUE(_volume.AwaitStall());
        return first;
    }
    bool AwaitOpenings(size_t count)
    {
        return Eventually([&] { return _volume.Count(Operation::kOpenFile) == count; });
    }
    size_t HandlesReadBy() const
    {
        std::set<VolumeHandle> handles;
        for (const VolumeCall &call : _volume.Calls(Operation::kReadFile))
            handles.insert(call.handle);
        return handles.size();
    }

    ScriptedVolume _volume;
    std::unique_ptr<MountedFile> _file;
};

TEST_F(MountedFileReads, TwoPlacesAreReadAtTheSameTime)
{
    Open(MountedFile::kMostReads);
    auto first = BeginStalledRead();
    EXPECT_EQ(At(5), "567");
    _volume.Release();
    EXPECT_EQ(first.get(), "012");
    EXPECT_EQ(HandlesReadBy(), 2U);
    _file.reset();
    EXPECT_EQ(_volume.OpenHandles(), 0U);
}

TEST_F(MountedFileReads, ReadsThatFollowEachOtherNeedOneHandle)
{
    Open(MountedFile::kMostReads);
    EXPECT_EQ(At(0), "012");
    EXPECT_EQ(At(7), "789");
    EXPECT_EQ(At(3), "345");
    EXPECT_EQ(_volume.Count(Operation::kOpenFile), 1U);
}

TEST_F(MountedFileReads, AReadGoesOnByTheHandleThatStandsThere)
{
    Open(MountedFile::kMostReads);
    auto first = BeginStalledRead();
    EXPECT_EQ(At(5), "567");
    _volume.Release();
    EXPECT_EQ(first.get(), "012");
    _volume.ForgetCalls();
    EXPECT_EQ(At(3), "345");
    EXPECT_EQ(At(8), "89");
    EXPECT_EQ(_volume.Count(Operation::kSetFilePosition), 0U);
}

TEST_F(MountedFileReads, AFileThatMayBeReplacedIsNotOpenedAgain)
{
    Open(1);
    auto first = BeginStalledRead();
    auto second = AtMeanwhile(5);
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    _volume.Release();
    EXPECT_EQ(first.get(), "012");
    EXPECT_EQ(second.get(), "567");
    EXPECT_EQ(_volume.Count(Operation::kOpenFile), 1U);
}

TEST_F(MountedFileReads, AReadWaitsForTheOneBeforeIfTheFileDoesNotOpenAgain)
{
    _volume.AtCall(Operation::kOpenFile, 2, Fault::kFail);
    Open(MountedFile::kMostReads);
    auto first = BeginStalledRead();
    auto second = AtMeanwhile(5);
    EXPECT_TRUE(AwaitOpenings(2));
    _volume.Release();
    EXPECT_EQ(first.get(), "012");
    EXPECT_EQ(second.get(), "567");
    EXPECT_EQ(HandlesReadBy(), 1U);
}

TEST_F(MountedFileReads, AHandleOfAnotherSizeIsNotUsed)
{
    _volume.AtCall(Operation::kQueryFileSize, 2, Fault::kLie);
    Open(MountedFile::kMostReads);
    auto first = BeginStalledRead();
    auto second = AtMeanwhile(5);
    EXPECT_TRUE(AwaitOpenings(2));
    _volume.Release();
    EXPECT_EQ(first.get(), "012");
    EXPECT_EQ(second.get(), "567");
    EXPECT_EQ(HandlesReadBy(), 1U);
}

TEST_F(MountedFileReads, AfterAFailureReadsFollowEachOther)
{
    _volume.AtCall(Operation::kReadFile, 2, Fault::kFail);
    Open(MountedFile::kMostReads);
    auto first = BeginStalledRead();
    EXPECT_EQ(At(5), "") << "by a second handle";
    _volume.Release();
    EXPECT_EQ(first.get(), "012");
    EXPECT_EQ(_volume.OpenHandles(), 1U);
    EXPECT_EQ(At(5), "567");
    EXPECT_EQ(_volume.Count(Operation::kOpenFile), 2U);
}

TEST_F(MountedFileReads, WhicheverReadAndOpeningFailTheOthersGetTheirBytes)
{
    for (size_t failing = 1; failing <= 6; ++failing) {
        ScriptedVolume volume;
        volume.Root().File(u"a.txt", std::string("0123456789"));
        volume.AtCall(Operation::kReadFile, failing, Fault::kFail);
        volume.AtCall(Operation::kOpenFile, 1 + failing, Fault::kFail);
        const auto file = MountedFile::Open(volume, u"/a.txt");
        ASSERT_NE(file, nullptr);
        std::vector<std::future<int>> reads;
        for (int64_t position = 0; position < 8; ++position)
            reads.push_back(std::async(std::launch::async, [&file, position] {
                char byte = 0;
                uint32_t done = 0;
                const int error = file->Read(position, &byte, 1, &done);
                return error != 0 ? error : byte - static_cast<char>('0' + position);
            }));
        int failures = 0;
        for (auto &read : reads) {
            const int result = read.get();
            EXPECT_TRUE(result == 0 || result == EIO) << result;
            failures += result == 0 ? 0 : 1;
        }
        EXPECT_EQ(failures, 1);
        EXPECT_EQ(volume.OpenHandles(), 1U);
    }
}

}  // namespace
}  // namespace vx
