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

TEST(Wtf8, ANameLeadsBackToItsUnits)
{
    for (const std::u16string &name :
         {std::u16string(), std::u16string(u"a\u00E9\U0001F600\uEF80"),
          std::u16string{u'a', 0xD83D, u'b', 0xDE00}, std::u16string{0xDFFF, 0xD800}}) {
        Bytes units;
        for (const char16_t unit : name)
            units.insert(units.end(),
                         {static_cast<uint8_t>(unit), static_cast<uint8_t>(unit >> 8)});
        EXPECT_EQ(Utf16FromWtf8(Wtf8FromUtf16(units)), name);
    }
    for (const char *other : {"\xFF", "a\xC3", "\xED\xA0", "\xED\xA0\x40", "\xED\xE0\x80"})
        EXPECT_FALSE(Utf16FromWtf8(other)) << other;
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
