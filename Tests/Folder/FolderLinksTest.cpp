#include "VolumeReader.h"

#include <sys/stat.h>

namespace vx {
namespace {

class FolderLinksTest : public FolderVolumeTest {
protected:
    void ExpectFile(const std::u16string &name, const std::string &contents)
    {
        const VolumeFindData entry = EntryNamed(volume, u"/*", name);
        EXPECT_EQ(entry.attributes, 0x400u);
        EXPECT_EQ(SizeOf(entry), contents.size());
        EXPECT_EQ(ReadWholeFile(volume, u"/" + name), contents);
    }
    void ExpectDeadEnd(const std::u16string &name)
    {
        const VolumeFindData entry = EntryNamed(volume, u"/*", name);
        EXPECT_EQ(entry.attributes & 0x410, 0x400u);
        EXPECT_EQ(SizeOf(entry), 0u);
        EXPECT_FALSE(Opens(volume, u"/" + name));
        EXPECT_EQ(ListFolder(volume, u"/" + name + u"/*"), std::nullopt);
    }
    void ExpectClosedFolder(const std::u16string &name)
    {
        const VolumeFindData entry = EntryNamed(volume, u"/*", name);
        EXPECT_EQ(entry.attributes, 0x410u);
        EXPECT_EQ(SizeOf(entry), 0u);
        EXPECT_EQ(ListFolder(volume, u"/" + name + u"/*"), std::nullopt);
        EXPECT_FALSE(Opens(volume, u"/" + name));
    }

    const TemporaryFolder outside;
};

TEST_F(FolderLinksTest, ARelativeLinkToAFileOfTheVolumeShowsAndOpensIt)
{
    folder.WriteFile("sub/file", "target");
    folder.MakeLink("link", "sub/file");
    ExpectFile(u"link", "target");
}

TEST_F(FolderLinksTest, AnAbsoluteLinkToAFileOfTheVolumeShowsAndOpensIt)
{
    folder.MakeLink("link", folder.WriteFile("sub/file", "target"));
    ExpectFile(u"link", "target");
}

TEST_F(FolderLinksTest, ALinkThroughAParentFolderOfTheVolumeOpens)
{
    folder.WriteFile("a/file", "target");
    folder.MakeLink("b/link", "../a/file");
    EXPECT_EQ(SizeOf(EntryNamed(volume, u"/b/*", u"link")), 6u);
    EXPECT_EQ(ReadWholeFile(volume, u"/b/link"), "target");
}

TEST_F(FolderLinksTest, ALinkToALinkToAFileOfTheVolumeOpens)
{
    folder.WriteFile("file", "target");
    folder.MakeLink("first", "file");
    folder.MakeLink("second", "first");
    ExpectFile(u"second", "target");
}

TEST_F(FolderLinksTest, AVolumeOpenedThroughALinkResolvesItsLinks)
{
    folder.MakeLink("link", folder.WriteFile("file", "target"));
    const auto through = OpenFolderVolume(outside.MakeLink("to-folder", folder.Path()));
    EXPECT_EQ(ReadWholeFile(*through, u"/link"), "target");
}

TEST_F(FolderLinksTest, ALinkToAFolderIsAFolderThatCannotBeListed)
{
    folder.WriteFile("sub/file", "target");
    folder.MakeLink("link", "sub");
    ExpectClosedFolder(u"link");
}

TEST_F(FolderLinksTest, ALinkToTheRootOrAnEnclosingFolderCannotBeListed)
{
    folder.MakeLink("root", ".");
    folder.MakeLink("sub/up", "..");
    ExpectClosedFolder(u"root");
    EXPECT_EQ(EntryNamed(volume, u"/sub/*", u"up").attributes, 0x410u);
    EXPECT_EQ(ListFolder(volume, u"/sub/up/*"), std::nullopt);
}

TEST_F(FolderLinksTest, NothingOpensBeneathALinkToAFolder)
{
    folder.WriteFile("sub/inner/file", "target");
    folder.MakeLink("sub/inner/link", "file");
    folder.MakeLink("link", "sub");
    EXPECT_FALSE(Opens(volume, u"/link/inner/file"));
    EXPECT_FALSE(Opens(volume, u"/link/inner/link"));
    EXPECT_EQ(ListFolder(volume, u"/link/inner/*"), std::nullopt);
}

TEST_F(FolderLinksTest, ALinkToNothingIsAFileOfSizeZeroThatDoesNotOpen)
{
    folder.MakeLink("link", "missing");
    ExpectDeadEnd(u"link");
}

TEST_F(FolderLinksTest, ALinkToItselfIsAFileOfSizeZeroThatDoesNotOpen)
{
    folder.MakeLink("link", "link");
    ExpectDeadEnd(u"link");
}

TEST_F(FolderLinksTest, ALinkToAFileOutsideIsAFileOfSizeZeroThatDoesNotOpen)
{
    const std::string secret = outside.WriteFile("secret", "secret");
    folder.MakeLink("absolute", secret);
    folder.MakeLink("relative", "../" + secret.substr(secret.find("vx-test-")));
    ExpectDeadEnd(u"absolute");
    ExpectDeadEnd(u"relative");
}

TEST_F(FolderLinksTest, ALinkToAFolderOutsideIsAFileOfSizeZeroThatDoesNotOpen)
{
    outside.WriteFile("secret", "secret");
    folder.MakeLink("link", outside.Path());
    ExpectDeadEnd(u"link");
    EXPECT_FALSE(Opens(volume, u"/link/secret"));
}

TEST_F(FolderLinksTest, AFolderOutsideWhoseNameBeginsLikeTheVolumesIsOutside)
{
    const auto inner = OpenFolderVolume(folder.MakeFolder("data"));
    folder.MakeLink("data/link", folder.WriteFile("data2/secret", "secret"));
    EXPECT_EQ(SizeOf(EntryNamed(*inner, u"/*", u"link")), 0u);
    EXPECT_FALSE(Opens(*inner, u"/link"));
}

TEST_F(FolderLinksTest, ALinkToAFifoIsAFileOfSizeZeroThatDoesNotOpen)
{
    ASSERT_EQ(mkfifo(folder.At("fifo").c_str(), 0644), 0);
    folder.MakeLink("link", "fifo");
    ExpectDeadEnd(u"link");
}

TEST_F(FolderLinksTest, ALinkWorksInAVolumeOfTheWholeDisk)
{
    const auto disk = OpenFolderVolume("/");
    folder.WriteFile("file", "target");
    const std::string link = folder.MakeLink("link", folder.At("file"));
    EXPECT_EQ(ReadWholeFile(*disk, std::u16string(link.begin(), link.end())), "target");
}

}  // namespace
}  // namespace vx
