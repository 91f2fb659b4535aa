#include "CPipeWrapper.h"

#include "LinkFixture.h"
#include "PipeFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <limits.h>
#include <signal.h>
#include <sstream>
#include <unistd.h>

namespace {

class CPipeWrapperTest : public testing::Test {
protected:
    // A pair of open ends of one FIFO.
    void OpenBoth()
    {
        _reader.InitPipe(_path.c_str(), kReadFlags);
        _writer.InitPipe(_path.c_str(), kWriteFlags);
        ASSERT_NE(_reader.OpenPipe(), -1);
        ASSERT_NE(_writer.OpenPipe(), -1);
    }

    std::string ContentOf(const std::string &path) const
    {
        std::ifstream file(path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    // The lowest free descriptor number: it moves up when something is left open.
    int LowestFreeDescriptor() const
    {
        const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
        close(descriptor);
        return descriptor;
    }

    PipeFolder _folder;
    const std::string _path = _folder.At("fifo");
    CPipeWrapper _reader;
    CPipeWrapper _writer;
};

TEST_F(CPipeWrapperTest, ANewEndHasNoDescriptorAndNoPath)
{
    EXPECT_EQ(_reader.GetPipeDescr(), -1);
    EXPECT_STREQ(_reader.GetPipeName(), "");
}

TEST_F(CPipeWrapperTest, InitPipeStoresThePathAndTouchesNoFile)
{
    _reader.InitPipe(_path.c_str(), kReadFlags);
    EXPECT_EQ(_reader.GetPipeName(), _path);
    EXPECT_EQ(_reader.GetPipeDescr(), -1);
    EXPECT_FALSE(PipeFolder::Exists(_path));
}

TEST_F(CPipeWrapperTest, InitPipeWithANullNameLeavesPathAndFlagsAsTheyWere)
{
    _reader.InitPipe(_path.c_str(), kReadFlags);
    _reader.InitPipe(nullptr, O_WRONLY | O_NONBLOCK);
    EXPECT_EQ(_reader.GetPipeName(), _path);
    // With the second flags nothing would be made, and opening would fail.
    EXPECT_NE(_reader.OpenPipe(), -1);
    EXPECT_TRUE(PipeFolder::Exists(_path));
}

TEST_F(CPipeWrapperTest, APathOf1023BytesIsStoredWhole)
{
    const std::string longest(CPipeWrapper::kPathSize - 1, 'p');
    _reader.InitPipe(longest.c_str(), kReadFlags);
    EXPECT_EQ(_reader.GetPipeName(), longest);
}

TEST_F(CPipeWrapperTest, APathOf1024BytesIsRefusedAndChangesNothing)
{
    _reader.InitPipe(_path.c_str(), kReadFlags);
    _reader.InitPipe(std::string(CPipeWrapper::kPathSize, 'p').c_str(), kWriteFlags);
    EXPECT_EQ(_reader.GetPipeName(), _path);
    EXPECT_NE(_reader.OpenPipe(), -1);
}

TEST_F(CPipeWrapperTest, OpenPipeMakesAMissingFifoWithTheModeLessTheUmask)
{
    const mode_t former = umask(027);
    _reader.InitPipe(_path.c_str(), kReadFlags);
    EXPECT_NE(_reader.OpenPipe(), -1);
    umask(former);
    struct stat status;
    ASSERT_EQ(stat(_path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISFIFO(status.st_mode));
    EXPECT_EQ(status.st_mode & 0777, 0750u);
}

TEST_F(CPipeWrapperTest, OpenPipeOpensAFifoThatIsThereAlready)
{
    ASSERT_EQ(mkfifo(_path.c_str(), 0600), 0);
    _reader.InitPipe(_path.c_str(), kReadFlags);
    EXPECT_NE(_reader.OpenPipe(), -1);
}

TEST_F(CPipeWrapperTest, OpenPipeWithoutTheCreateFlagMakesNothing)
{
    _reader.InitPipe(_path.c_str(), O_RDONLY | O_NONBLOCK);
    EXPECT_EQ(_reader.OpenPipe(), -1);
    EXPECT_EQ(_reader.GetPipeDescr(), -1);
    EXPECT_FALSE(PipeFolder::Exists(_path));
}

TEST_F(CPipeWrapperTest, OpenPipeReturnsTheDescriptorThatItStores)
{
    _reader.InitPipe(_path.c_str(), kReadFlags);
    const int descriptor = _reader.OpenPipe();
    EXPECT_GE(descriptor, 0);
    EXPECT_EQ(_reader.GetPipeDescr(), descriptor);
}

TEST_F(CPipeWrapperTest, OpenPipeDoesNotCloseADescriptorAlreadyHeld)
{
    _reader.InitPipe(_path.c_str(), kReadFlags);
    const int first = _reader.OpenPipe();
    const int second = _reader.OpenPipe();
    EXPECT_NE(first, second);
    EXPECT_NE(fcntl(first, F_GETFD), -1);
    EXPECT_EQ(_reader.GetPipeDescr(), second);
    close(first);
}

TEST_F(CPipeWrapperTest, OpenPipeOnAWriteEndWithNoReaderFailsUntilAReaderHasOpened)
{
    _writer.InitPipe(_path.c_str(), kWriteFlags);
    EXPECT_EQ(_writer.OpenPipe(), -1);
    EXPECT_EQ(_writer.GetPipeDescr(), -1);
    _reader.InitPipe(_path.c_str(), kReadFlags);
    ASSERT_NE(_reader.OpenPipe(), -1);
    EXPECT_NE(_writer.OpenPipe(), -1);
}

TEST_F(CPipeWrapperTest, DescriptorsAreCloseOnExec)
{
    OpenBoth();
    EXPECT_TRUE(fcntl(_reader.GetPipeDescr(), F_GETFD) & FD_CLOEXEC);
    EXPECT_TRUE(fcntl(_writer.GetPipeDescr(), F_GETFD) & FD_CLOEXEC);
}

TEST_F(CPipeWrapperTest, ARegularFileAtThePathIsAFailedOpenAndStaysAsItWas)
{
    std::ofstream(_path) << "somebody's file";
    const int free = LowestFreeDescriptor();
    _writer.InitPipe(_path.c_str(), kWriteFlags);
    EXPECT_EQ(_writer.OpenPipe(), -1);
    EXPECT_EQ(_writer.GetPipeDescr(), -1);
    EXPECT_EQ(_writer.WriteToPipe("notice", 6), -1);
    EXPECT_EQ(ContentOf(_path), "somebody's file");
    EXPECT_EQ(LowestFreeDescriptor(), free) << "the refused descriptor was left open";
}

TEST_F(CPipeWrapperTest, ALinkToARegularFileIsAFailedOpen)
{
    const std::string target = _folder.At("target");
    std::ofstream(target) << "somebody's file";
    ASSERT_EQ(symlink(target.c_str(), _path.c_str()), 0);
    _writer.InitPipe(_path.c_str(), kWriteFlags);
    EXPECT_EQ(_writer.OpenPipe(), -1);
    EXPECT_EQ(ContentOf(target), "somebody's file");
}

TEST_F(CPipeWrapperTest, ALinkToAFifoIsAFailedOpen)
{
    const std::string target = _folder.At("target");
    ASSERT_EQ(mkfifo(target.c_str(), 0600), 0);
    ASSERT_EQ(symlink(target.c_str(), _path.c_str()), 0);
    _reader.InitPipe(_path.c_str(), kReadFlags);
    EXPECT_EQ(_reader.OpenPipe(), -1);
}

TEST_F(CPipeWrapperTest, AFolderAtThePathIsAFailedOpen)
{
    ASSERT_EQ(mkdir(_path.c_str(), 0700), 0);
    _reader.InitPipe(_path.c_str(), kReadFlags);
    EXPECT_EQ(_reader.OpenPipe(), -1);
    rmdir(_path.c_str());
}

TEST_F(CPipeWrapperTest, ReadFromPipeOfAnEmptyFifoWhoseWriterIsPresentReturnsMinusOne)
{
    OpenBoth();
    char buffer[16];
    EXPECT_EQ(_reader.ReadFromPipe(buffer, sizeof(buffer)), -1);
}

TEST_F(CPipeWrapperTest, ReadFromPipeWithNoWriterAtAllReturnsZeroAndAnAllZeroBuffer)
{
    _reader.InitPipe(_path.c_str(), kReadFlags);
    ASSERT_NE(_reader.OpenPipe(), -1);
    std::string buffer(16, 'x');
    EXPECT_EQ(_reader.ReadFromPipe(buffer.data(), buffer.size()), 0);
    EXPECT_EQ(buffer, std::string(16, '\0'));
}

TEST_F(CPipeWrapperTest, ReadFromPipeReturnsTheBytesAndZeroFillsTheRest)
{
    OpenBoth();
    ASSERT_EQ(_writer.WriteToPipe("abc", 3), 3);
    std::string buffer(8, 'x');
    EXPECT_EQ(_reader.ReadFromPipe(buffer.data(), buffer.size()), 3);
    EXPECT_EQ(buffer, std::string("abc\0\0\0\0\0", 8));
}

TEST_F(CPipeWrapperTest, ReadFromPipeReadsNoMoreThanItIsAskedFor)
{
    OpenBoth();
    ASSERT_EQ(_writer.WriteToPipe("abcdef", 6), 6);
    std::string buffer(8, 'x');
    EXPECT_EQ(_reader.ReadFromPipe(buffer.data(), 4), 4);
    EXPECT_EQ(buffer, "abcdxxxx");
}

TEST_F(CPipeWrapperTest, AStaleErrnoDoesNotHideAGoodBlock)
{
    OpenBoth();
    ASSERT_EQ(_writer.WriteToPipe("abc", 3), 3);
    char buffer[8];
    errno = EAGAIN;
    EXPECT_EQ(_reader.ReadFromPipe(buffer, sizeof(buffer)), 3);
}

TEST_F(CPipeWrapperTest, ReadFromPipeWithoutABufferOrADescriptorReturnsMinusOne)
{
    char buffer[8];
    EXPECT_EQ(_reader.ReadFromPipe(buffer, sizeof(buffer)), -1);
    OpenBoth();
    EXPECT_EQ(_reader.ReadFromPipe(nullptr, 8), -1);
}

TEST_F(CPipeWrapperTest, WriteToPipeWithoutABufferOrADescriptorReturnsMinusOne)
{
    EXPECT_EQ(_writer.WriteToPipe("a", 1), -1);
    OpenBoth();
    EXPECT_EQ(_writer.WriteToPipe(nullptr, 1), -1);
}

TEST_F(CPipeWrapperTest, WriteToPipeReturnsTheBytesWritten)
{
    OpenBoth();
    EXPECT_EQ(_writer.WriteToPipe("abcd", 4), 4);
}

TEST_F(CPipeWrapperTest, WriteToPipeOfAFullPipeReturnsMinusOneAndWritesNothing)
{
    OpenBoth();
    const std::string block(kPipeMessageSize, 'b');
    long written = 0;
    while (_writer.WriteToPipe(block.data(), block.size()) != -1)
        written += static_cast<long>(block.size());
    EXPECT_GT(written, 0);
    std::string buffer(kPipeMessageSize, '\0');
    long taken = 0;
    for (long n; (n = _reader.ReadFromPipe(buffer.data(), buffer.size())) > 0;)
        taken += n;
    EXPECT_EQ(taken, written);
}

TEST_F(CPipeWrapperTest, AWholeMessageIsWrittenInOnePiece)
{
    // Only then can the blocks of two senders not mix.
    EXPECT_GE(PIPE_BUF, kWholeMessage);
}

TEST_F(CPipeWrapperTest, WritingToAReaderThatWentAwayFailsWithoutASignal)
{
    OpenBoth();
    _reader.ClosePipe();
    EXPECT_EQ(_writer.WriteToPipe("abc", 3), -1);
    EXPECT_EQ(errno, EPIPE);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_FALSE(sigismember(&pending, SIGPIPE));
}

TEST_F(CPipeWrapperTest, WritingLeavesTheSignalStateOfTheHostAsItWas)
{
    OpenBoth();
    _reader.ClosePipe();
    EXPECT_EQ(_writer.WriteToPipe("abc", 3), -1);
    struct sigaction action;
    sigaction(SIGPIPE, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_FALSE(sigismember(&mask, SIGPIPE));
}

TEST_F(CPipeWrapperTest, ASigPipeThatWasPendingBeforeAWriteStaysPending)
{
    OpenBoth();
    _reader.ClosePipe();
    sigset_t set, pending;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    raise(SIGPIPE);
    EXPECT_EQ(_writer.WriteToPipe("abc", 3), -1);
    sigpending(&pending);
    EXPECT_TRUE(sigismember(&pending, SIGPIPE));
    int taken = 0;
    sigwait(&set, &taken);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

TEST_F(CPipeWrapperTest, ClosePipeClosesTheDescriptorAndForgetsThePath)
{
    OpenBoth();
    const int descriptor = _reader.GetPipeDescr();
    _reader.ClosePipe();
    EXPECT_EQ(_reader.GetPipeDescr(), -1);
    EXPECT_STREQ(_reader.GetPipeName(), "");
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
}

TEST_F(CPipeWrapperTest, ClosePipeOfAnEndThatIsNotOpenKeepsThePath)
{
    _reader.InitPipe(_path.c_str(), kReadFlags);
    _reader.ClosePipe();
    EXPECT_EQ(_reader.GetPipeName(), _path);
}

TEST_F(CPipeWrapperTest, ClosePipeTwiceIsHarmless)
{
    OpenBoth();
    _reader.ClosePipe();
    const int other = open("/dev/null", O_RDONLY | O_CLOEXEC);
    _reader.ClosePipe();
    EXPECT_NE(fcntl(other, F_GETFD), -1) << "the second close hit a descriptor of others";
    close(other);
}

TEST_F(CPipeWrapperTest, AClosedEndOpensAgainOnceItIsGivenItsPath)
{
    OpenBoth();
    _reader.ClosePipe();
    EXPECT_EQ(_reader.OpenPipe(), -1);
    _reader.InitPipe(_path.c_str(), kReadFlags);
    EXPECT_NE(_reader.OpenPipe(), -1);
}

TEST_F(CPipeWrapperTest, DeletePipeUnlinksThePath)
{
    OpenBoth();
    EXPECT_EQ(_reader.DeletePipe(), 0);
    EXPECT_FALSE(PipeFolder::Exists(_path));
    EXPECT_EQ(_reader.DeletePipe(), -1);
}

TEST_F(CPipeWrapperTest, DeletePipeAfterClosePipeUnlinksNothing)
{
    OpenBoth();
    _reader.ClosePipe();
    EXPECT_EQ(_reader.DeletePipe(), -1);
    EXPECT_TRUE(PipeFolder::Exists(_path));
}

TEST_F(CPipeWrapperTest, DestructionClosesTheDescriptorAndKeepsTheFifo)
{
    int descriptor = -1;
    {
        CPipeWrapper end;
        end.InitPipe(_path.c_str(), kReadFlags);
        descriptor = end.OpenPipe();
        ASSERT_NE(descriptor, -1);
    }
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
    EXPECT_TRUE(PipeFolder::Exists(_path));
}

}  // namespace
