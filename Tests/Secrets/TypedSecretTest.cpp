#include "TypedSecret.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

namespace vx {
namespace {

void Fill(TypedSecret *secret, const std::string &text)
{
    for (const char byte : text)
        ASSERT_TRUE(secret->Append(byte));
}

TEST(Secret, ItHoldsWhatWasAppended)
{
    TypedSecret secret;
    EXPECT_TRUE(secret.IsEmpty());
    Fill(&secret, "open sesame!");
    secret.RemoveLast();
    EXPECT_STREQ(secret.Text(), "open sesame");
    EXPECT_EQ(secret.Last(), 'e');
}

TEST(Secret, AFullOneTakesNoMoreAndStillEndsInAZero)
{
    TypedSecret secret;
    Fill(&secret, std::string(TypedSecret::kMostBytes, 'x'));
    EXPECT_FALSE(secret.Append('y'));
    EXPECT_EQ(std::string(secret.Text()), std::string(TypedSecret::kMostBytes, 'x'));
}

TEST(Secret, WhatItBeginsWithCanBeRemoved)
{
    TypedSecret secret;
    Fill(&secret, "open sesame");
    secret.RemoveFirst("close");
    EXPECT_STREQ(secret.Text(), "open sesame");
    secret.RemoveFirst("open ");
    EXPECT_STREQ(secret.Text(), "sesame");
    secret.RemoveFirst("sesame street");
    EXPECT_STREQ(secret.Text(), "sesame");
    secret.RemoveFirst("sesame");
    EXPECT_TRUE(secret.IsEmpty());
    EXPECT_STREQ(secret.Text(), "");
}

TEST(Secret, WhatIsWipedIsEmpty)
{
    TypedSecret secret;
    Fill(&secret, "open sesame");
    secret.Wipe();
    EXPECT_TRUE(secret.IsEmpty());
    EXPECT_STREQ(secret.Text(), "");
}

TEST(Secret, NothingOfItIsLeftInMemoryWhenItGoes)
{
    alignas(TypedSecret) static unsigned char place[sizeof(TypedSecret)];
    TypedSecret *secret = new (place) TypedSecret;
    Fill(secret, "open sesame");
    secret->~TypedSecret();
    const std::string word = "sesame";
    EXPECT_EQ(std::search(std::begin(place), std::end(place), word.begin(), word.end()),
              std::end(place));
}

TEST(Secret, AWipedTextLeavesNothingInItsPlace)
{
    std::string text(100, 'x');
    const char *place = text.data();
    WipeText(&text);
    EXPECT_EQ(text, "");
    ASSERT_EQ(text.data(), place) << "the string keeps its memory";
    EXPECT_TRUE(std::all_of(place, place + 100, [](char byte) { return byte == 0; }));
}

}  // namespace
}  // namespace vx
