// The finding and loading of the volume library, in a program laid out as it is installed:
// the bundle "Probe.app" and the library beside it.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "TemporaryFolder.h"

namespace {

using Strings = std::vector<std::string>;

std::string Contents(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

class BitlockerWrapper : public ::testing::Test {
protected:
    BitlockerWrapper() { program = Install(VX_WRAPPER_PROBE, VX_BUNDLE_PROGRAM); }

    std::string Install(const std::string &from, const std::string &to)
    {
        std::string path = folder.WriteFile(to, Contents(from));
        chmod(path.c_str(), 0755);
        return path;
    }
    void InstallLibrary(const std::string &built) { Install(built, kLibrary); }
    // The lines that the probe prints.
    Strings Probe(Strings commands)
    {
        commands.insert(commands.begin(), program);
        const ChildResult result = RunChild(commands);
        EXPECT_EQ(result.status, 0) << result.output;
        Strings lines;
        for (size_t at = 0; at < result.output.size();) {
            const size_t end = result.output.find('\n', at);
            lines.push_back(result.output.substr(at, end - at));
            at = end == std::string::npos ? result.output.size() : end + 1;
        }
        return lines;
    }

    static constexpr const char *kLibrary = "libBitLockerWapper.dylib";
    vx::TemporaryFolder folder;
    std::string program;
};

}  // namespace

TEST_F(BitlockerWrapper, TheLibraryIsLookedForBesideTheBundle)
{
    EXPECT_EQ(Probe({"path"}), (Strings{folder.At(kLibrary)}));
}

TEST_F(BitlockerWrapper, ConstructingAWrapperLoadsNothing)
{
    InstallLibrary(VX_GOOD_LIBRARY);
    EXPECT_EQ(Probe({"wrapper"}), (Strings{}));
}

TEST_F(BitlockerWrapper, TheEntryIsCalledWithTheThreeTextsAndItsStatusAndVolumeArePassedOn)
{
    InstallLibrary(VX_GOOD_LIBRARY);
    EXPECT_EQ(Probe({"open", "/dev/disk2", "--x y", "Schlüssel 鍵"}),
              (Strings{"dlopen lazy", "loaded", "called [/dev/disk2] [--x y] [Schlüssel 鍵]",
                       "true stored 0"}));
}

TEST_F(BitlockerWrapper, EmptyTextsArePassedAsEmptyTexts)
{
    InstallLibrary(VX_GOOD_LIBRARY);
    EXPECT_EQ(Probe({"open", "", "", ""}),
              (Strings{"dlopen lazy", "loaded", "called [] [] []", "true stored 0"}));
}

TEST_F(BitlockerWrapper, TheStoredVolumeCanBeListed)
{
    InstallLibrary(VX_GOOD_LIBRARY);
    EXPECT_EQ(Probe({"open", "1", "2", "3", "list"}).back(), "list made");
}

TEST_F(BitlockerWrapper, ASecondCallInTheSameProcessDoesNotLoadTheLibraryAgain)
{
    InstallLibrary(VX_GOOD_LIBRARY);
    EXPECT_EQ(Probe({"open", "1", "2", "3", "open", "4", "5", "6"}),
              (Strings{"dlopen lazy", "loaded", "called [1] [2] [3]", "true stored 0",
                       "called [4] [5] [6]", "true stored 0"}));
}

TEST_F(BitlockerWrapper, TheEntryIsSharedByEveryWrapperOfTheProcess)
{
    InstallLibrary(VX_GOOD_LIBRARY);
    EXPECT_EQ(Probe({"open", "1", "2", "3", "wrapper", "open", "4", "5", "6"}),
              (Strings{"dlopen lazy", "loaded", "called [1] [2] [3]", "true stored 0",
                       "called [4] [5] [6]", "true stored 0"}));
}

TEST_F(BitlockerWrapper, ACallWhoseLoadingFailedLeavesTheCacheEmptyTheNextCallLoadsAgain)
{
    EXPECT_EQ(Probe({"open", "1", "2", "3", "copy", VX_GOOD_LIBRARY, folder.At(kLibrary), "open",
                     "4", "5", "6"}),
              (Strings{"dlopen lazy", "false untouched untouched", "dlopen lazy", "loaded",
                       "called [4] [5] [6]", "true stored 0"}));
}

TEST_F(BitlockerWrapper, ANullStatusPointerIsAllowedTheEntrysResultIsDiscarded)
{
    InstallLibrary(VX_STATUS_LIBRARY);
    EXPECT_EQ(Probe({"open-no-status", "1", "2", "3"}),
              (Strings{"dlopen lazy", "loaded", "called [1] [2] [3]", "true null untouched"}));
}

TEST_F(BitlockerWrapper, AMissingLibraryReturnsFalseWithBothOutputsUntouched)
{
    EXPECT_EQ(Probe({"open", "1", "2", "3", "open-no-status", "1", "2", "3"}),
              (Strings{"dlopen lazy", "false untouched untouched", "dlopen lazy",
                       "false untouched untouched"}));
}

TEST_F(BitlockerWrapper, AFileThatIsNoLibraryReturnsFalseWithBothOutputsUntouched)
{
    folder.WriteFile(kLibrary, "no library");
    EXPECT_EQ(Probe({"open", "1", "2", "3"}),
              (Strings{"dlopen lazy", "false untouched untouched"}));
}

TEST_F(BitlockerWrapper, ALibraryWithoutTheEntryReturnsFalseWithBothOutputsUntouched)
{
    InstallLibrary(VX_ENTRYLESS_LIBRARY);
    EXPECT_EQ(Probe({"open", "1", "2", "3", "open", "4", "5", "6"}),
              (Strings{"dlopen lazy", "loaded", "false untouched untouched", "dlopen lazy",
                       "false untouched untouched"}));
}

TEST_F(BitlockerWrapper, AnEntryThatReturnsNonZeroStillGivesTrueAndTheStatus)
{
    InstallLibrary(VX_STATUS_LIBRARY);
    EXPECT_EQ(Probe({"open", "1", "2", "3"}).back(), "true null -7");
}

TEST_F(BitlockerWrapper, AnEntryThatLeavesTheVolumeNullStillGivesTrue)
{
    InstallLibrary(VX_NO_VOLUME_LIBRARY);
    EXPECT_EQ(Probe({"open", "1", "2", "3"}).back(), "true null 0");
}

TEST_F(BitlockerWrapper, ALibraryElsewhereIsNotFound)
{
    Install(VX_GOOD_LIBRARY, std::string("Probe.app/") + kLibrary);
    Install(VX_GOOD_LIBRARY, std::string("Probe.app/Resources/") + kLibrary);
    EXPECT_EQ(Probe({"open", "1", "2", "3"}),
              (Strings{"dlopen lazy", "false untouched untouched"}));
}

TEST_F(BitlockerWrapper, ABareToolFindsTheLibraryWhereItsMainBundleLies)
{
    program = Install(VX_WRAPPER_PROBE, "tools/probe");
    Install(VX_GOOD_LIBRARY, VX_BARE_TOOL_LIBRARY);
    EXPECT_EQ(Probe({"path", "open", "1", "2", "3"}),
              (Strings{folder.At(VX_BARE_TOOL_LIBRARY), "dlopen lazy", "loaded",
                       "called [1] [2] [3]", "true stored 0"}));
}
