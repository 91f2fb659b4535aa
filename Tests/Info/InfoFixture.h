// What the tests of volume-info share: runs of the program with a made-up library or the real one.
#pragma once

#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vx {

class InfoTest : public ::testing::Test {
protected:
    struct Result {
        int status;
        std::string output;
        std::string errors;
    };
    using Arguments = std::vector<std::string>;

    // With the made-up disks of InfoStandIn.
    Result Run(const Arguments &arguments, const ToolRun::Settings &settings = {});
    // library: the one that is put beside a copy of the program; empty for none.
    Result RunWith(const std::string &library, const Arguments &arguments,
                   const ToolRun::Settings &settings = {});
    std::string ProgramWith(const std::string &library);

    // What python3 makes of a JSON document: the value of the expression in which "d" is it.
    std::string Json(const std::string &document, const std::string &expression);

    TemporaryFolder _folder;
};

}  // namespace vx
