// What the tests of volume-mount share: mounts by the built program with the real volume library or
// a stand-in, and what other programs see in them. Everything is unmounted at the end.
#pragma once

#include "Command.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vx {

class MountTest : public ::testing::Test {
protected:
    struct Result {
        int status;
        std::string output;
        std::string errors;
    };
    using Arguments = std::vector<std::string>;

    // Leaves the test out where nothing can be mounted, and says why.
    void SetUp() override;
    void TearDown() override;

    // A fresh empty folder, which is unmounted at the end.
    std::string MountPoint();
    // Mounts in the background on a fresh folder; a test failure, and an empty text, if that fails.
    std::string Mount(const Arguments &arguments);
    // The volume of this name of the stand-in library.
    std::string MountStandIn(const std::string &tree);
    static void Unmount(const std::string &folder);
    static bool IsMounted(const std::string &folder);

    Result Run(const Arguments &arguments);
    Result RunWith(const std::string &program, const Arguments &arguments);
    // A copy of the program with another library, or none, beside it.
    std::string ProgramWith(const std::string &library);

    // What a shell command prints on both outputs, without the last line end, and how it ends.
    static Result Shell(const std::string &line);
    // Whether both folders have the same below them: kinds, sizes, times, paths, and the files'
    // hashes.
    void ExpectSameFacts(const std::string &found, const std::string &expected);

    TemporaryFolder _folder;

private:
    std::string MountBy(const std::string &program, const Arguments &arguments);

    std::vector<std::string> _mountPoints;
};

}  // namespace vx
