// Folders of a destination, opened by several threads, with something else in their places.
#include "DestinationTree.h"
#include "ToolFixture.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace vx {
namespace {

class Tree : public ToolTest {
protected:
    using Missing = DestinationTree::Missing;

    Tree() { EXPECT_TRUE(_tree.Open(_destination)); }

    DestinationTree::Folder Enter(const std::string &path, Missing missing = Missing::kMake)
    {
        _reason.clear();
        return _tree.Enter(path, missing, &_reason, &_error);
    }
    // Whether the open folder is the one at a path below the destination.
    bool Is(const DestinationTree::Folder &folder, const std::string &path)
    {
        struct stat opened = {};
        struct stat found = {};
        return folder && fstat(folder->Get(), &opened) == 0 &&
               stat((_destination + "/" + path).c_str(), &found) == 0 &&
               IdentityOf(opened) == IdentityOf(found);
    }
    static long OpenDescriptors()
    {
        DIR *list = opendir("/dev/fd");
        long count = 0;
        while (readdir(list) != nullptr)
            ++count;
        closedir(list);
        return count;
    }

    DestinationTree _tree{""};
    std::string _reason;
    int _error = 0;
};

TEST_F(Tree, AFolderIsMadeWithThoseAboveItAndOpenedOnlyOnce)
{
    const DestinationTree::Folder made = Enter("a/b/c");
    EXPECT_TRUE(Is(made, "a/b/c"));
    EXPECT_EQ(Enter("a/b/c"), made);
    EXPECT_TRUE(Is(Enter("a/b"), "a/b"));
    EXPECT_TRUE(Is(Enter("a/b/c/d"), "a/b/c/d"));
    EXPECT_TRUE(Is(Enter(""), ""));
}

TEST_F(Tree, AnotherFolderWithTheSameStartIsNotMistakenForIt)
{
    EXPECT_TRUE(Is(Enter("a/b"), "a/b"));
    EXPECT_TRUE(Is(Enter("a/bc/d"), "a/bc/d"));
    EXPECT_NE(access((_destination + "/a/b/c").c_str(), F_OK), 0);
}

TEST_F(Tree, WithoutMakingAMissingFolderIsAFailureAndNothingAppears)
{
    EXPECT_EQ(Enter("a/b", Missing::kFail), nullptr);
    EXPECT_EQ(_error, ENOENT);
    EXPECT_EQ(_reason, "its folder could not be made: No such file or directory");
    EXPECT_NE(access((_destination + "/a").c_str(), F_OK), 0);
}

TEST_F(Tree, AFolderStaysOpenAsLongAsItIsHeldAndFewBeyondThat)
{
    const long before = OpenDescriptors();
    const DestinationTree::Folder held = Enter("held");
    for (size_t i = 0; i < 4 * DestinationTree::kMostKept; ++i)
        ASSERT_TRUE(Enter("folder" + std::to_string(i)));
    EXPECT_TRUE(Is(held, "held"));
    EXPECT_LE(OpenDescriptors() - before, static_cast<long>(DestinationTree::kMostKept) + 1);
    EXPECT_TRUE(Is(Enter("held"), "held"));
}

TEST_F(Tree, ALinkOutOfTheDestinationIsNotFollowedAtAnyDepth)
{
    _folder.MakeFolder("elsewhere/sub");
    _folder.MakeFolder("destination/a");
    _folder.MakeLink("destination/a/out", _folder.At("elsewhere"));
    for (const std::string below : {"", "/sub", "/new"}) {
        EXPECT_EQ(Enter("a/out" + below), nullptr);
        EXPECT_EQ(_reason, "the link a/out stands where its folder should be, and leads out of the "
                           "destination");
    }
    EXPECT_NE(access(_folder.At("elsewhere/new").c_str(), F_OK), 0);
}

TEST_F(Tree, ALinkToAFolderAboveTheDestinationLeadsOut)
{
    _folder.MakeLink("destination/up", "..");
    EXPECT_EQ(Enter("up"), nullptr);
    EXPECT_EQ(Enter("up/destination"), nullptr);
}

TEST_F(Tree, AChainOfLinksIsJudgedByItsEnd)
{
    _folder.MakeFolder("elsewhere");
    _folder.MakeFolder("destination/real");
    _folder.MakeLink("elsewhere/back", _destination + "/real");
    _folder.MakeLink("destination/through", "../elsewhere/back");
    _folder.MakeLink("destination/first", "second");
    _folder.MakeLink("destination/second", "../elsewhere");
    EXPECT_TRUE(Is(Enter("through"), "real"));
    EXPECT_EQ(Enter("first"), nullptr);
}

TEST_F(Tree, ALinkThatLeadsNowhereIsAFailure)
{
    _folder.MakeLink("destination/nowhere", "missing");
    EXPECT_EQ(Enter("nowhere"), nullptr);
    EXPECT_EQ(_reason, "a link that leads nowhere stands where its folder should be");
    EXPECT_NE(access((_destination + "/missing").c_str(), F_OK), 0);
}

TEST_F(Tree, AFifoInThePlaceOfAFolderIsNotWaitedFor)
{
    ASSERT_EQ(mkfifo(_folder.At("destination/fifo").c_str(), 0600), 0);
    _folder.MakeLink("destination/link", "fifo");
    for (const std::string name : {"fifo", "link"}) {
        EXPECT_EQ(Enter(name), nullptr);
        EXPECT_EQ(_reason, "a file of this machine stands where its folder should be");
    }
}

TEST_F(Tree, AFifoInThePlaceOfAnArrivedFileIsNotWaitedFor)
{
    ASSERT_EQ(mkfifo(_folder.At("destination/fifo").c_str(), 0600), 0);
    _folder.MakeLink("destination/link", _folder.WriteFile("destination/file", "1"));
    EXPECT_FALSE(OpenArrived(_tree.Root(), "fifo"));
    EXPECT_EQ(errno, ENXIO);
    EXPECT_FALSE(OpenArrived(_tree.Root(), "link"));
    EXPECT_TRUE(OpenArrived(_tree.Root(), "file"));
}

// While threads go in and out, the place of one folder changes between a folder and a link out.
TEST_F(Tree, SeveralThreadsMakeEveryFolderAndNoneOutside)
{
    _folder.MakeFolder("elsewhere");
    std::atomic<bool> mayGoOn{true};
    std::atomic<int> failures{0};
    std::thread changer([&] {
        const std::string place = _destination + "/changing";
        const std::string aside = _destination + "/aside";
        while (mayGoOn) {
            (void)symlink("../elsewhere", place.c_str());
            unlink(place.c_str());
            rename(place.c_str(), aside.c_str());
            rename(aside.c_str(), place.c_str());
        }
    });
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, &failures, thread] {
            std::string reason;
            int error = 0;
            for (int i = 0; i < 400; ++i) {
                const std::string name = std::to_string(i % 100) + "/" + std::to_string(i / 100);
                if (!_tree.Enter(name, Missing::kMake, &reason, &error))
                    ++failures;
                const std::string own = std::to_string(thread) + "." + std::to_string(i);
                (void)_tree.Enter("changing/" + own, Missing::kMake, &reason, &error);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    mayGoOn = false;
    changer.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(rmdir(_folder.At("elsewhere").c_str()), 0) << "something was made outside";
    for (int i = 0; i < 400; ++i) {
        const std::string name = std::to_string(i % 100) + "/" + std::to_string(i / 100);
        EXPECT_EQ(access((_destination + "/" + name).c_str(), F_OK), 0) << name;
    }
}

}  // namespace
}  // namespace vx
