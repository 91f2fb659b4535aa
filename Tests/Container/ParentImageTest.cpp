// The parent of an image is a file in the image's own folder, and no image is its own ancestor.
#include "ParentImage.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

// Each file has the name of its parent as its contents, and its own name as its identity.
Result<Container> OpenNamed(const TemporaryFolder &folder, const std::string &path,
                            const ParentOpener &parents)
{
    const std::string name = ParentImage::FileName(path);
    const std::string parent = folder.ReadFile(name);
    Container container;
    container.identity = name;
    container.notes = {"noted"};
    container.files = {path};
    if (parent == "damaged")
        return Error{Status::kDamagedContainer, "it is damaged"};
    if (parent == "forbidden")
        return SystemError(EACCES, "open");
    if (!parent.empty()) {
        auto opened = parents({"a test image", {parent}});
        if (!opened)
            return opened.Failure();
        container.files.insert(container.files.end(), opened->files.begin(), opened->files.end());
        container.notes.insert(container.notes.end(), opened->notes.begin(), opened->notes.end());
    }
    return container;
}

class ParentImages : public testing::Test {
protected:
    Result<Container> Open(const ParentWanted &wanted, const std::string &child = "child") const
    {
        const auto open = [this](const std::string &path, std::optional<ContainerKind>,
                                 const ParentOpener &parents) {
            return OpenNamed(folder, path, parents);
        };
        return ParentImage::Beside(folder.At(child), open)(wanted);
    }

    void ExpectFails(const ParentWanted &wanted, Status status, const std::string &detail) const
    {
        const auto parent = Open(wanted);
        ASSERT_FALSE(parent);
        EXPECT_EQ(parent.Failure().status, status);
        EXPECT_EQ(parent.Failure().detail, detail);
    }

    const TemporaryFolder folder{};
};

TEST_F(ParentImages, TheFileNameOfAnyPathIsLookedForBesideTheImage)
{
    folder.WriteFile("base", "");
    for (const char *name : {"base", "./base", "C:\\disks\\base", "..\\base", "/etc/base",
                             "\\\\?\\Volume{26A21BDA}\\base"}) {
        const auto parent = Open({"a test image", {name}});
        ASSERT_TRUE(parent) << name << ": " << parent.Failure().detail;
        EXPECT_EQ(parent->identity, "base");
        EXPECT_EQ(parent->files, std::vector<std::string>{folder.At("base")});
        EXPECT_EQ(parent->notes, std::vector<std::string>{"its parent base: noted"});
    }
}

TEST_F(ParentImages, TheFirstNameOfAFileThatIsThereCounts)
{
    folder.WriteFile("second", "");
    folder.WriteFile("third", "");
    const auto parent = Open({"a test image", {"first", "", "second", "third"}});
    ASSERT_TRUE(parent);
    EXPECT_EQ(parent->identity, "second");
}

TEST_F(ParentImages, AMissingOneIsNamedWithTheFolderItBelongsTo)
{
    ExpectFails({"a test image", {"C:\\a\x1B\\b\x1B"}}, Status::kTruncatedImage,
                "its parent b? is missing: put it into the folder of child");
    ExpectFails({"a test image", {"", "x/"}}, Status::kUnsupportedContainer,
                "it is a test image and does not name its parent, so the two must be merged into "
                "one image first");
}

TEST_F(ParentImages, NothingButAnOrdinaryFileIsOpened)
{
    const std::string fifo = folder.At("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    ASSERT_EQ(symlink("/etc/passwd", folder.At("link").c_str()), 0);
    ASSERT_EQ(mkdir(folder.At("folder").c_str(), 0700), 0);
    for (const std::string name : {"fifo", "link", "folder"})
        ExpectFails({"a test image", {name}}, Status::kUnsupportedContainer,
                    "its parent " + name + " is a link or no ordinary file, and is not read");
    for (const char *name : {"..", "/etc/.."})
        ExpectFails({"a test image", {name}}, Status::kUnsupportedContainer,
                    "its parent .. lies elsewhere, and only files beside the image are read");
}

TEST_F(ParentImages, AnotherImageInThePlaceOfTheParentIsRefused)
{
    folder.WriteFile("base", "");
    EXPECT_TRUE(Open({"a test image", {"base"}, {}, {"other", "base"}}));
    ExpectFails({"a test image", {"base"}, {}, {"other"}}, Status::kUnsupportedContainer,
                "its parent base is not the image that child was made from, or was changed since: "
                "put the right one into its place");
}

TEST_F(ParentImages, AFailureNamesTheFileThatIsAtFault)
{
    folder.WriteFile("middle", "last");
    ExpectFails({"a test image", {"middle"}}, Status::kTruncatedImage,
                "its parent last is missing: put it into the folder of middle");
    folder.WriteFile("last", "damaged");
    ExpectFails({"a test image", {"middle"}}, Status::kDamagedContainer,
                "its parent last does not open: it is damaged");
    folder.WriteFile("last", "forbidden");
    ExpectFails({"a test image", {"middle"}}, Status::kSystemError,
                "its parent last may not be read by your user");
}

TEST_F(ParentImages, AnImageThatIsItsOwnAncestorIsRefused)
{
    folder.WriteFile("child", "a");
    folder.WriteFile("a", "b");
    folder.WriteFile("b", "a");
    ExpectFails({"a test image", {"a"}}, Status::kUnsupportedContainer,
                "its parent a is one of its own children");
    ASSERT_EQ(link(folder.At("child").c_str(), folder.At("same").c_str()), 0);
    ExpectFails({"a test image", {"same"}}, Status::kUnsupportedContainer,
                "its parent same is one of its own children");
}

TEST_F(ParentImages, AChainHasAnEnd)
{
    folder.WriteFile("child", "1");
    for (size_t number = 1; number < ParentImage::kMostImages; ++number)
        folder.WriteFile(std::to_string(number), std::to_string(number + 1));
    folder.WriteFile("64", "");
    ExpectFails({"a test image", {"1"}}, Status::kUnsupportedContainer,
                "its parent 64 is not read: more than 64 images in a chain must be merged first");
    folder.WriteFile("63", "");
    const auto parent = Open({"a test image", {"1"}});
    ASSERT_TRUE(parent) << parent.Failure().detail;
    EXPECT_EQ(parent->files.size(), 63u);
}

}  // namespace
}  // namespace vx
