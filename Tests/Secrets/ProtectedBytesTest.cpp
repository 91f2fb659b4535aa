#include "ProtectedBytes.h"

#include <gtest/gtest.h>
#include <string>

namespace vx {
namespace {

TEST(ProtectedBytes, BeginAsZeros)
{
    const ProtectedBytes bytes(5000);
    EXPECT_EQ(std::string(bytes.Text(), bytes.Size()), std::string(5000, '\0'));
}

TEST(ProtectedBytes, AreACopyOfWhatWasGiven)
{
    const ProtectedBytes bytes("key", 4);
    EXPECT_STREQ(bytes.Text(), "key");
}

TEST(ProtectedBytes, HaveOneOwnerWhenTheyAreMoved)
{
    ProtectedBytes first("key", 4);
    const uint8_t *const place = first.Data();
    ProtectedBytes second("other", 6);
    second = std::move(first);
    EXPECT_EQ(second.Data(), place);
    EXPECT_STREQ(second.Text(), "key");
    EXPECT_EQ(first.Size(), 0U);
    EXPECT_EQ(first.Data(), nullptr);
}

TEST(ProtectedBytes, MayBeNone)
{
    ProtectedBytes none(0);
    none.Wipe();
    EXPECT_EQ(none.Size(), 0U);
}

}  // namespace
}  // namespace vx
