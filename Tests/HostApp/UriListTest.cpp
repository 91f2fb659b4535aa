// The files that a list of URIs names.
#include "UriList.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

using Files = std::vector<std::string>;

TEST(UriList, EveryLineIsAFileAndACommentIsNone)
{
    EXPECT_EQ(vx::filesOfUriList("# two\r\nfile:///a.img\r\nfile:///b%20c.img\r\n"),
              (Files{"/a.img", "/b c.img"}));
    EXPECT_EQ(vx::filesOfUriList("file:///a.img"), Files{"/a.img"});
    EXPECT_EQ(vx::filesOfUriList("file:///a.img\n"), Files{"/a.img"});
    EXPECT_EQ(vx::filesOfUriList(std::string("file:///a.img\r\n\0", 16)), Files{"/a.img"});
    EXPECT_EQ(vx::filesOfUriList("\r\n"), Files{});
}

TEST(UriList, EscapedBytesAreTheBytesOfThePath)
{
    EXPECT_EQ(vx::filesOfUriList("file:///%C3%BC%2f100%25%e9%0A"), Files{"/\xc3\xbc/100%\xe9\n"});
    EXPECT_EQ(vx::filesOfUriList("file:///a+b?c#d"), Files{"/a+b?c#d"});
}

TEST(UriList, WhatIsEscapedWronglyIsNoFile)
{
    for (const char *uri : {"file:///a%", "file:///a%4", "file:///a%4g", "file:///a%g4",
                            "file:///a%00b", "file:///a%-1"})
        EXPECT_EQ(vx::filesOfUriList(uri), Files{}) << uri;
}

TEST(UriList, AFileOfThisMachineMayNameIt)
{
    char name[256] = {};
    ASSERT_EQ(gethostname(name, sizeof(name) - 1), 0);
    EXPECT_EQ(vx::filesOfUriList("file://localhost/a"), Files{"/a"});
    EXPECT_EQ(vx::filesOfUriList("file://" + std::string(name) + "/a"), Files{"/a"});
    EXPECT_EQ(vx::filesOfUriList("FILE:/a"), Files{"/a"});
    EXPECT_EQ(vx::filesOfUriList("file://elsewhere.example.org/a"), Files{});
}

TEST(UriList, OneThatIsNoFileSpoilsTheList)
{
    for (const char *uri :
         {"https://example.org/a", "/a", "file:a", "file://", "file:", "trash:///a"})
        EXPECT_EQ(vx::filesOfUriList("file:///a\r\n" + std::string(uri) + "\r\n"), Files{}) << uri;
}

}  // namespace
