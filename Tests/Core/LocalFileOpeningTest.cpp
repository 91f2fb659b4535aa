// Where a file of this machine may be created or emptied, and where it has to stay as it is.
#include "LocalFileOpening.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <list>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

#include "OrdinaryUser.h"

namespace {

class LocalFileOpening : public ::testing::Test {
protected:
    // Writes "new" to what opens; false with errno otherwise.
    bool Write(const std::string &name)
    {
        FILE *file = OpenLocalFile(folder.At(name).c_str());
        if (file == nullptr)
            return false;
        fputs("new", file);
        return fclose(file) == 0;
    }
    struct stat Look(const std::string &name) const
    {
        struct stat found = {};
        lstat(folder.At(name).c_str(), &found);
        return found;
    }

    vx::TemporaryFolder folder;
};

// A descriptor of the process for as long as it lives.
class Open {
public:
    Open(const std::string &path, int flags) : _file(open(path.c_str(), flags)) {}
    ~Open() { close(_file); }
    Open(const Open &) = delete;
    Open &operator=(const Open &) = delete;
    int Number() const { return _file; }

private:
    const int _file;
};

}  // namespace

TEST_F(LocalFileOpening, AMissingFileIsCreatedAsFopenDoes)
{
    const mode_t mask = umask(027);
    ASSERT_TRUE(Write("a"));
    umask(mask);
    EXPECT_EQ(folder.ReadFile("a"), "new");
    EXPECT_EQ(Look("a").st_mode & 0777, 0640u);
}

TEST_F(LocalFileOpening, AnOrdinaryFileIsEmptiedAndKeepsItsIdentityAndItsPermissions)
{
    chmod(folder.WriteFile("a", "old and longer").c_str(), 0600);
    const struct stat before = Look("a");
    ASSERT_TRUE(Write("a"));
    EXPECT_EQ(folder.ReadFile("a"), "new");
    EXPECT_EQ(Look("a").st_ino, before.st_ino);
    EXPECT_EQ(Look("a").st_mode, before.st_mode);
}

TEST_F(LocalFileOpening, AFileThatTheProcessReadsIsRefused)
{
    const Open reader(folder.WriteFile("a", "precious"), O_RDONLY);
    EXPECT_FALSE(Write("a"));
    EXPECT_EQ(errno, EBUSY);
    EXPECT_EQ(folder.ReadFile("a"), "precious");
}

TEST_F(LocalFileOpening, AFileThatTheProcessReadsUnderAnotherNameIsRefused)
{
    const Open reader(folder.WriteFile("original", "precious"), O_RDONLY);
    ASSERT_EQ(link(folder.At("original").c_str(), folder.At("a").c_str()), 0);
    EXPECT_FALSE(Write("a"));
    EXPECT_EQ(errno, EBUSY);
    EXPECT_EQ(folder.ReadFile("a"), "precious");
}

TEST_F(LocalFileOpening, AFileIsFoundAmongAnyNumberOfDescriptors)
{
    folder.WriteFile("other", "x");
    std::list<Open> others;
    for (int i = 0; i < 100; ++i)
        others.emplace_back(folder.At("other"), O_RDONLY);
    const Open reader(folder.WriteFile("a", "precious"), O_RDONLY);
    EXPECT_FALSE(Write("a"));
    EXPECT_EQ(folder.ReadFile("a"), "precious");
}

TEST_F(LocalFileOpening, ADescriptorThatIsAsideDoesNotCount)
{
    const Open reader(folder.WriteFile("a", "x"), O_RDONLY);
    EXPECT_TRUE(IsOpenInThisProcess(Look("a")));
    EXPECT_FALSE(IsOpenInThisProcess(Look("a"), reader.Number()));
}

TEST_F(LocalFileOpening, ALinkIsMadeAnewAndWhatItLedToStays)
{
    folder.WriteFile("original", "precious");
    folder.MakeLink("a", "original");
    ASSERT_TRUE(Write("a"));
    EXPECT_EQ(folder.ReadFile("original"), "precious");
    EXPECT_EQ(folder.ReadFile("a"), "new");
    EXPECT_TRUE(S_ISREG(Look("a").st_mode));
}

TEST_F(LocalFileOpening, ALinkThatLeadsNowhereIsMadeAnewAndNothingElseAppears)
{
    folder.MakeLink("a", "nothing");
    ASSERT_TRUE(Write("a"));
    EXPECT_EQ(folder.ReadFile("a"), "new");
    EXPECT_NE(access(folder.At("nothing").c_str(), F_OK), 0);
}

TEST_F(LocalFileOpening, OneOfSeveralNamesIsMadeAnewAndTheOthersKeepTheFile)
{
    folder.WriteFile("original", "precious");
    ASSERT_EQ(link(folder.At("original").c_str(), folder.At("a").c_str()), 0);
    ASSERT_TRUE(Write("a"));
    EXPECT_EQ(folder.ReadFile("original"), "precious");
    EXPECT_EQ(folder.ReadFile("a"), "new");
}

TEST_F(LocalFileOpening, OneOfSeveralNamesOfAFileThatMayNotBeWrittenStays)
{
    chmod(folder.Path().c_str(), 0777);
    chmod(folder.WriteFile("original", "precious").c_str(), 0444);
    ASSERT_EQ(link(folder.At("original").c_str(), folder.At("a").c_str()), 0);
    bool written = true;
    {
        const OrdinaryUser user;
        written = Write("a");
    }
    EXPECT_FALSE(written);
    EXPECT_EQ(Look("a").st_nlink, 2u);
}

TEST_F(LocalFileOpening, AFifoIsRefusedAtOnceWithoutAReader)
{
    ASSERT_EQ(mkfifo(folder.At("a").c_str(), 0600), 0);
    EXPECT_FALSE(Write("a"));
    EXPECT_EQ(errno, ENXIO);
    EXPECT_TRUE(S_ISFIFO(Look("a").st_mode));
}

TEST_F(LocalFileOpening, AFifoWithAReaderIsRefusedToo)
{
    ASSERT_EQ(mkfifo(folder.At("a").c_str(), 0600), 0);
    const Open reader(folder.At("a"), O_RDONLY | O_NONBLOCK);
    EXPECT_FALSE(Write("a"));
    char byte = 0;
    EXPECT_EQ(read(reader.Number(), &byte, 1), 0) << "something was written to the FIFO";
}

TEST_F(LocalFileOpening, ASocketIsRefused)
{
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    folder.At("a").copy(name.sun_path, sizeof(name.sun_path) - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&name), sizeof(name)), 0);
    EXPECT_FALSE(Write("a"));
    EXPECT_TRUE(S_ISSOCK(Look("a").st_mode));
    close(listener);
}

TEST_F(LocalFileOpening, ADeviceIsRefused)
{
    EXPECT_EQ(OpenLocalFile("/dev/null"), nullptr);
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(LocalFileOpening, AFolderIsRefusedAndSoIsALinkToOne)
{
    folder.MakeFolder("folder");
    folder.MakeLink("link", "folder");
    EXPECT_FALSE(Write("folder"));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(Write("link"));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_TRUE(S_ISLNK(Look("link").st_mode));
}

TEST_F(LocalFileOpening, AFileBelowAMissingFolderIsAFailureWithItsReason)
{
    EXPECT_FALSE(Write("missing/a"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(LocalFileOpening, TheDescriptorIsNotHandedToOtherPrograms)
{
    folder.WriteFile("old", "x");
    for (const char *name : {"new", "old"}) {
        FILE *file = OpenLocalFile(folder.At(name).c_str());
        ASSERT_NE(file, nullptr);
        EXPECT_NE(fcntl(fileno(file), F_GETFD) & FD_CLOEXEC, 0);
        EXPECT_EQ(fcntl(fileno(file), F_GETFL) & O_NONBLOCK, 0);
        fclose(file);
    }
}

// What stands there when it is looked at need not be what is opened then.
TEST_F(LocalFileOpening, AFileThatTheProcessReadsStaysThoughItIsExchangedForAnotherOne)
{
    constexpr int kTimes = 4000;
    const Open reading(folder.WriteFile("read", "original"), O_RDONLY);
    folder.WriteFile("a", "old");
    std::atomic<bool> isOver{false};
    std::thread exchanging([&] {
        while (!isOver) {
            link(folder.At("read").c_str(), folder.At("name").c_str());
            rename(folder.At("name").c_str(), folder.At("a").c_str());
            folder.WriteFile("ordinary", "old");
            rename(folder.At("ordinary").c_str(), folder.At("a").c_str());
        }
    });
    for (int i = 0; i < kTimes && folder.ReadFile("read") == "original"; ++i)
        Write("a");
    isOver = true;
    exchanging.join();
    EXPECT_EQ(folder.ReadFile("read"), "original");
}
