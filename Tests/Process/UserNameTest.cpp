#include "UserName.h"

#include <gtest/gtest.h>

namespace {

TEST(UserNameTest, IsTheOneThatTheSystemSays)
{
    EXPECT_EQ(vx::UserName(0), "root");
}

TEST(UserNameTest, IsEmptyForAUserThatTheSystemDoesNotKnow)
{
    EXPECT_EQ(vx::UserName(4000000123u), "");
}

}  // namespace
