#include "FolderOpening.h"
#include "NoNewThreads.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

TEST(FolderOpeningWithoutThreads, TheProgramIsStartedAllTheSame)
{
    {
        const NoNewThreads none;
        EXPECT_TRUE(vx::startDetached("true", "/tmp"));
    }
    EXPECT_GT(wait(nullptr), 0);
}
