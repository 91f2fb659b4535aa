// Names that a destination takes for one.
#include "NameFolding.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

DestinationTraits Traits(bool ignoresCase, bool ignoresForm, bool dropsEnds)
{
    DestinationTraits traits;
    traits.ignoresCase = ignoresCase;
    traits.ignoresForm = ignoresForm;
    traits.dropsEnds = dropsEnds;
    return traits;
}

const DestinationTraits kExact = Traits(false, false, false);
const DestinationTraits kCaseless = Traits(true, false, false);
const DestinationTraits kFormless = Traits(false, true, false);
const DestinationTraits kEndless = Traits(false, false, true);

bool AreOne(const DestinationTraits &traits, const std::string &first, const std::string &other)
{
    return FoldedFor(traits, first) == FoldedFor(traits, other);
}

TEST(NameFolding, WhereEveryDifferenceCountsANameIsLeftAsItIs)
{
    for (const std::string name : {"A", "a. ", "\u00e9", "e\u0301", "\u212a"})
        EXPECT_EQ(FoldedFor(kExact, name), name);
}

TEST(NameFolding, CaseIsFoldedInEveryScript)
{
    EXPECT_TRUE(AreOne(kCaseless, "Readme/A.TXT", "README/a.txt"));
    EXPECT_TRUE(AreOne(kCaseless, "\u00c9t\u00c9", "\u00e9t\u00e9"));
    EXPECT_TRUE(AreOne(kCaseless, "\u0416", "\u0436"));
    EXPECT_TRUE(AreOne(kCaseless, "\u03c3x", "\u03c2x"));  // the two small sigmas
    EXPECT_TRUE(AreOne(kCaseless, "\u212a", "k"));         // the sign of the kelvin
    EXPECT_TRUE(AreOne(kCaseless, "\u048a", "\u048b"));
    EXPECT_TRUE(AreOne(kCaseless, "\u2c00", "\u2c30"));
    EXPECT_TRUE(AreOne(kCaseless, "\U00010400", "\U00010428"));  // beyond 16 bits
    EXPECT_FALSE(AreOne(kCaseless, "a", "b"));
    EXPECT_FALSE(AreOne(kCaseless, "\u00e9", "e\u0301"));
    EXPECT_FALSE(AreOne(kCaseless, "a", "a."));
}

TEST(NameFolding, NormalFormsAreFoldedAndCaseStays)
{
    EXPECT_TRUE(AreOne(kFormless, "caf\u00e9", "cafe\u0301"));
    EXPECT_TRUE(AreOne(kFormless, "\uac00", "\u1100\u1161"));
    EXPECT_FALSE(AreOne(kFormless, "caf\u00e9", "CAFE\u0301"));
    EXPECT_TRUE(AreOne(Traits(true, true, false), "caf\u00e9", "CAFE\u0301"));
}

TEST(NameFolding, DotsAndBlanksAtTheEndsOfAllNamesAreLeftOut)
{
    EXPECT_TRUE(AreOne(kEndless, "a/b", "a. ./b ."));
    EXPECT_FALSE(AreOne(kEndless, "a", " a"));
    EXPECT_FALSE(AreOne(kEndless, "A", "a"));
}

}  // namespace
}  // namespace vx
