// Which kind of container a file is, by its contents and its name.
#include "ContainerKind.h"
#include "EwfWriter.h"
#include "FailingSource.h"
#include "OpenSource.h"
#include "QcowWriter.h"
#include "TemporaryFolder.h"
#include "VdiWriter.h"
#include "VhdWriter.h"
#include "VmdkWriter.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

constexpr size_t kSector = 512;

ContainerKind KindOf(const std::string &bytes, const std::string &path = "disk")
{
    return FindContainerKind(path, *SourceOf(bytes)).kind;
}

std::string WithBootMark(std::string sector)
{
    sector.resize(kSector);
    return sector.replace(kSector - 2, 2, "\x55\xAA");
}

TEST(ContainerKinds, EachImageIsRecognisedByItsContents)
{
    VhdRecipe fixed;
    fixed.type = 2;
    fixed.diskBytes = kSector;
    EXPECT_EQ(KindOf(EwfWriter(std::string(kSector, 'x')).Image()), ContainerKind::kEwf);
    EXPECT_EQ(KindOf(std::string(kSector, 'x') + VhdWriter(fixed).Footer()), ContainerKind::kVhd);
    EXPECT_EQ(KindOf(VhdWriter({}).Image()), ContainerKind::kVhd);
    EXPECT_EQ(KindOf(VmdkWriter().Image()), ContainerKind::kVmdk);
    EXPECT_EQ(KindOf("# Disk DescriptorFile\n"), ContainerKind::kVmdk);
    EXPECT_EQ(KindOf(QcowWriter({}).Image()), ContainerKind::kQcow);
    EXPECT_EQ(KindOf(VdiWriter({}).Image()), ContainerKind::kVdi);
}

TEST(ContainerKinds, WhatIsNotRecognisedIsRaw)
{
    EXPECT_EQ(KindOf(""), ContainerKind::kRaw);
    EXPECT_EQ(KindOf("KDM"), ContainerKind::kRaw);
    EXPECT_EQ(KindOf(std::string(3 * kSector, '\0')), ContainerKind::kRaw);
}

TEST(ContainerKinds, AFormatThatDoesNotOpenIsNamed)
{
    const FoundContainer found =
        FindContainerKind("disk", *SourceOf(std::string("AFF10\r\n\0", 8)));
    EXPECT_EQ(found.kind, ContainerKind::kUnsupported);
    ASSERT_NE(found.unsupported, nullptr);
    EXPECT_NE(found.unsupported->Sentence().find("AFF"), std::string::npos);
}

TEST(ContainerKinds, ABootSectorIsRawWhateverItsFirstBytesResemble)
{
    for (const std::string &head :
         {std::string("QFI\xFB\0\0\0\3", 8), std::string("AFF10\r\n\0", 8),
          std::string(64, ' ') + "\x7F\x10\xDA\xBE"}) {
        EXPECT_NE(KindOf(head), ContainerKind::kRaw);
        EXPECT_EQ(KindOf(WithBootMark(head)), ContainerKind::kRaw);
    }
}

TEST(ContainerKinds, BytesThatCannotBeReadAreNotRecognised)
{
    FailingSource image(EwfWriter(std::string(kSector, 'x')).Image());
    EXPECT_EQ(FindContainerKind("disk", image).kind, ContainerKind::kEwf);
    image.MakeBad(kSector / 2, 1);
    EXPECT_EQ(FindContainerKind("disk", image).kind, ContainerKind::kRaw);
}

TEST(ContainerKinds, OnlyTheFirstOfSeveralPartsIsASplitImage)
{
    const TemporaryFolder folder;
    const std::string first = folder.WriteFile("disk.001", "x");
    EXPECT_EQ(KindOf("x", first), ContainerKind::kRaw);
    const std::string second = folder.WriteFile("disk.002", "x");
    EXPECT_EQ(KindOf("x", first), ContainerKind::kSplit);
    EXPECT_EQ(KindOf("x", second), ContainerKind::kRaw);
    EXPECT_EQ(FindContainerKind(second, *SourceOf("x")).parts->Given(), 2u);
}

}  // namespace
}  // namespace vx
