#include "ProgramFolder.h"

#include <gtest/gtest.h>

namespace {

TEST(ProgramFolderTest, TheFolderOfTheRunningProgramIsFound)
{
    EXPECT_EQ(vx::ProgramFolder(), TEST_FOLDER);
}

}  // namespace
