#include "FileTypeKinds.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

using vx::FileTypeKind;
using vx::kindOfFileType;

TEST(FileTypeKinds, EveryKindIsReachedByAnExtension)
{
    EXPECT_EQ(kindOfFileType("docx"), FileTypeKind::Document);
    EXPECT_EQ(kindOfFileType("txt"), FileTypeKind::Text);
    EXPECT_EQ(kindOfFileType("jpg"), FileTypeKind::Image);
    EXPECT_EQ(kindOfFileType("mp3"), FileTypeKind::Audio);
    EXPECT_EQ(kindOfFileType("mkv"), FileTypeKind::Video);
    EXPECT_EQ(kindOfFileType("7z"), FileTypeKind::Archive);
    EXPECT_EQ(kindOfFileType("exe"), FileTypeKind::Program);
    EXPECT_EQ(kindOfFileType("pdf"), FileTypeKind::Pdf);
    EXPECT_EQ(kindOfFileType("xlsx"), FileTypeKind::Spreadsheet);
    EXPECT_EQ(kindOfFileType("pptx"), FileTypeKind::Presentation);
    EXPECT_EQ(kindOfFileType("cpp"), FileTypeKind::Code);
}

TEST(FileTypeKinds, CapitalsMakeNoDifference)
{
    EXPECT_EQ(kindOfFileType("JPG"), FileTypeKind::Image);
    EXPECT_EQ(kindOfFileType("DocX"), FileTypeKind::Document);
}

TEST(FileTypeKinds, AnEmptyTypeIsGeneric)
{
    EXPECT_EQ(kindOfFileType(""), FileTypeKind::Generic);
}

TEST(FileTypeKinds, AnUnknownTypeIsGeneric)
{
    EXPECT_EQ(kindOfFileType("nosuchtype"), FileTypeKind::Generic);
    EXPECT_EQ(kindOfFileType("jpg "), FileTypeKind::Generic);
    EXPECT_EQ(kindOfFileType(" "), FileTypeKind::Generic);
    EXPECT_EQ(kindOfFileType("j\xC3\xA9pg"), FileTypeKind::Generic);
}

TEST(FileTypeKinds, TheFirstAndTheLastExtensionOfAListAreKnown)
{
    EXPECT_EQ(kindOfFileType("doc"), FileTypeKind::Document);
    EXPECT_EQ(kindOfFileType("bib"), FileTypeKind::Document);
    EXPECT_EQ(kindOfFileType("c"), FileTypeKind::Code);
    EXPECT_EQ(kindOfFileType("applescript"), FileTypeKind::Code);
}

TEST(FileTypeKinds, EveryKindHasAPictureOfItsOwn)
{
    std::set<std::string> names;
    for (int kind = 0; kind < vx::kFileTypeKindCount; ++kind)
        names.insert(vx::imageNameOfKind(static_cast<FileTypeKind>(kind)));
    EXPECT_EQ(names.size(), static_cast<size_t>(vx::kFileTypeKindCount));
    EXPECT_STREQ(vx::imageNameOfKind(FileTypeKind::Pdf), "file-pdf");
    EXPECT_STREQ(vx::imageNameOfKind(FileTypeKind::Code), "file-code");
}
