#include "FileTypeKinds.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

using vx::FileTypeKind;
using vx::kindOfFileType;

TEST(FileTypeKinds, EveryKindIsReachedByAnExtension)
{
    EXPECT_EQ(kindOfFileType("docx"), FileTypeKind::kDocument);
    EXPECT_EQ(kindOfFileType("txt"), FileTypeKind::kText);
    EXPECT_EQ(kindOfFileType("jpg"), FileTypeKind::kImage);
    EXPECT_EQ(kindOfFileType("mp3"), FileTypeKind::kAudio);
    EXPECT_EQ(kindOfFileType("mkv"), FileTypeKind::kVideo);
    EXPECT_EQ(kindOfFileType("7z"), FileTypeKind::kArchive);
    EXPECT_EQ(kindOfFileType("exe"), FileTypeKind::kProgram);
    EXPECT_EQ(kindOfFileType("pdf"), FileTypeKind::kPdf);
    EXPECT_EQ(kindOfFileType("xlsx"), FileTypeKind::kSpreadsheet);
    EXPECT_EQ(kindOfFileType("pptx"), FileTypeKind::kPresentation);
    EXPECT_EQ(kindOfFileType("cpp"), FileTypeKind::kCode);
}

TEST(FileTypeKinds, CapitalsMakeNoDifference)
{
    EXPECT_EQ(kindOfFileType("JPG"), FileTypeKind::kImage);
    EXPECT_EQ(kindOfFileType("DocX"), FileTypeKind::kDocument);
}

TEST(FileTypeKinds, AnEmptyTypeIsGeneric)
{
    EXPECT_EQ(kindOfFileType(""), FileTypeKind::kGeneric);
}

TEST(FileTypeKinds, AnUnknownTypeIsGeneric)
{
    EXPECT_EQ(kindOfFileType("nosuchtype"), FileTypeKind::kGeneric);
    EXPECT_EQ(kindOfFileType("jpg "), FileTypeKind::kGeneric);
    EXPECT_EQ(kindOfFileType(" "), FileTypeKind::kGeneric);
    EXPECT_EQ(kindOfFileType("j\xC3\xA9pg"), FileTypeKind::kGeneric);
}

TEST(FileTypeKinds, TheFirstAndTheLastExtensionOfAListAreKnown)
{
    EXPECT_EQ(kindOfFileType("doc"), FileTypeKind::kDocument);
    EXPECT_EQ(kindOfFileType("bib"), FileTypeKind::kDocument);
    EXPECT_EQ(kindOfFileType("c"), FileTypeKind::kCode);
    EXPECT_EQ(kindOfFileType("applescript"), FileTypeKind::kCode);
}

TEST(FileTypeKinds, EveryKindHasAPictureOfItsOwn)
{
    std::set<std::string> names;
    for (int kind = 0; kind < vx::kFileTypeKindCount; ++kind)
        names.insert(vx::imageNameOfKind(static_cast<FileTypeKind>(kind)));
    EXPECT_EQ(names.size(), static_cast<size_t>(vx::kFileTypeKindCount));
    EXPECT_STREQ(vx::imageNameOfKind(FileTypeKind::kPdf), "file-pdf");
    EXPECT_STREQ(vx::imageNameOfKind(FileTypeKind::kCode), "file-code");
}
