// What the tests of the built volume-export share: a temporary folder, runs of the program with
// the real volume library or with a stand-in, and trees of files to compare.
#pragma once

#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace vx {

class ToolTest : public ::testing::Test {
protected:
    struct Result {
        int status;
        std::string output;
        std::string errors;
    };
    using Arguments = std::vector<std::string>;
    using Files = std::map<std::string, std::string>;

    // The built program with the volume library beside it.
    Result Run(const Arguments &arguments, const ToolRun::Settings &settings = {});
    // A copy of the program with another library, or none, where it looks for one.
    Result RunWith(const std::string &library, const Arguments &arguments,
                   const ToolRun::Settings &settings = {});
    std::string CopyOfTool(const std::string &library);

    // By path relative to the folder; the contents of all regular files, links not followed.
    static Files FilesBelow(const std::string &folder);

    static const std::string kTool;
    static const std::string kStandIn;
    static const std::string kOlderStandIn;  // without the functions of VolumeReport.h
    static const std::string kEntryless;

    TemporaryFolder _folder;
    const std::string _volume = _folder.MakeFolder("volume");
    std::string _destination = _folder.MakeFolder("destination");
};

// Whether text contains part; the texts are shown if not.
::testing::AssertionResult Holds(const std::string &text, const std::string &part);
::testing::AssertionResult Lacks(const std::string &text, const std::string &part);

}  // namespace vx
