#include "Wtf8.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(Wtf8, NamesOfEveryKindAreConverted)
{
    EXPECT_EQ(Wtf8FromUtf16(Bytes{'a', 0, 0xE9, 0, 0x3D, 0xD8, 0x00, 0xDE}),
              "a\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(Wtf8FromUtf16(Bytes{0x3D, 0xD8, 'a', 0}), "\xED\xA0\xBD"
                                                        "a");
    EXPECT_EQ(Wtf8FromUtf16(Bytes{0x00, 0xDE}), "\xED\xB8\x80");
}

TEST(Wtf8, WhatNoPathCanHoldIsNoName)
{
    for (const std::string &name : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), std::string("a\0b", 3)})
        EXPECT_FALSE(IsEntryName(name));
    EXPECT_TRUE(IsEntryName("..."));
}

}  // namespace
}  // namespace vx
