#import "ExportTest.h"
#include "OrdinaryUser.h"

namespace {

class MakeDirectory : public ExportTest {
protected:
    bool Make(const std::string &relative)
    {
        return [Z5FileManager makeDirectory:Text(Destination()) withSource:Text(relative)];
    }
    bool IsFolder(const std::string &path) const
    {
        struct stat status = {};
        return stat(folder.At(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    }
};

}  // namespace

TEST_F(MakeDirectory, ANilArgumentIsAFailure)
{
    EXPECT_FALSE([Z5FileManager makeDirectory:nil withSource:@"/a"]);
    EXPECT_FALSE([Z5FileManager makeDirectory:Text(Destination()) withSource:nil]);
}

TEST_F(MakeDirectory, FoldersOnTheWayAreMade)
{
    EXPECT_TRUE(Make("/a/b/c"));
    EXPECT_TRUE(IsFolder("a/b/c"));
}

TEST_F(MakeDirectory, AnExistingFolderIsReused)
{
    folder.WriteFile("a/kept", "x");
    EXPECT_TRUE(Make("/a"));
    EXPECT_EQ(Exported("a/kept"), "x");
}

TEST_F(MakeDirectory, AnEmptyFolderPathChecksTheDestinationRootItselfAndSucceedsWhenItExists)
{
    EXPECT_TRUE(Make(""));
    EXPECT_TRUE(Make("/"));
}

TEST_F(MakeDirectory, AMissingDestinationRootIsMade)
{
    EXPECT_TRUE([Z5FileManager makeDirectory:Text(folder.At("new/root")) withSource:@""]);
    EXPECT_TRUE(IsFolder("new/root"));
}

TEST_F(MakeDirectory, ThePathsAreJoinedWithoutASeparator)
{
    EXPECT_TRUE([Z5FileManager makeDirectory:Text(folder.At("a")) withSource:@"b"]);
    EXPECT_TRUE(IsFolder("ab"));
}

TEST_F(MakeDirectory, WhenAPlainFileAlreadyStandsWhereAFolderIsNeededItReportsSuccess)
{
    folder.WriteFile("a", "plain");
    EXPECT_TRUE(Make("/a"));
    EXPECT_EQ(Exported("a"), "plain");
}

TEST_F(MakeDirectory, AFolderBelowAPlainFileIsAFailure)
{
    folder.WriteFile("a", "plain");
    EXPECT_FALSE(Make("/a/b"));
}

TEST_F(MakeDirectory, AFolderThatMayNotBeMadeIsAFailure)
{
    folder.MakeFolder("locked");
    chmod(folder.At("locked").c_str(), 0555);
    chmod(Destination().c_str(), 0755);
    bool made = true;
    {
        const OrdinaryUser user;
        made = Make("/locked/a");
    }
    EXPECT_FALSE(made);
    EXPECT_FALSE(Exists("locked/a"));
    chmod(folder.At("locked").c_str(), 0755);
}

TEST_F(MakeDirectory, AnyNameIsAFolderName)
{
    EXPECT_TRUE(Make("/Дом 😀/100% %@"));
    EXPECT_TRUE(IsFolder("Дом 😀/100% %@"));
}
