// The lock, the FIFO files, the place of the program, the quit notice and the events.
#include "CPipeDataWrapper.h"
#include "ChildChannel.h"
#include "EventPipe.h"
#include "FifoPair.h"
#include "HostLock.h"
#include "HostRequest.h"
#include "QuitNoticeSink.h"
#include "SessionEvents.h"
#include "UniqueFd.h"
#include "_MSG_DATA_PACKAGE.h"

#include "Eventually.h"
#include "PipeFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

class HostLockTest : public testing::Test {
protected:
    PipeFolder _folder;
    const std::string _path = _folder.At("lock");
};

TEST_F(HostLockTest, OneHolderAtATime)
{
    auto first = std::make_unique<vx::HostLock>(_path);
    EXPECT_TRUE(first->IsHeld());
    const vx::HostLock second(_path);
    EXPECT_FALSE(second.IsHeld());
    EXPECT_NE(second.GetError().find("another host is running"), std::string::npos);
    EXPECT_TRUE(second.IsHeldByAnother());
    EXPECT_EQ(second.Owner(), "");
    first.reset();
    EXPECT_TRUE(vx::HostLock(_path).IsHeld());
}

TEST_F(HostLockTest, NothingIsLeftBehind)
{
    {
        const vx::HostLock lock(_path);
        EXPECT_TRUE(PipeFolder::Exists(_path));
    }
    EXPECT_FALSE(PipeFolder::Exists(_path));
}

TEST_F(HostLockTest, ARefusedLockLeavesTheHoldersFileAlone)
{
    const vx::HostLock first(_path);
    {
        const vx::HostLock refused(_path);
    }
    EXPECT_TRUE(PipeFolder::Exists(_path));
    EXPECT_FALSE(vx::HostLock(_path).IsHeld());
}

TEST_F(HostLockTest, AFileThatACrashedHostLeftBehindIsNoLock)
{
    std::ofstream(_path).close();
    EXPECT_TRUE(vx::HostLock(_path).IsHeld());
}

std::string InTheWay(const std::string &path)
{
    return path + " is in the way: it is not an empty file; move it elsewhere";
}

std::string TextIn(const std::string &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(HostLockTest, AFileWithContentsIsRefusedAndLeftAlone)
{
    std::ofstream(_path) << "precious";
    {
        const vx::HostLock lock(_path);
        EXPECT_FALSE(lock.IsHeld());
        EXPECT_EQ(lock.GetError(), InTheWay(_path));
        const vx::UniqueFd file(open(_path.c_str(), O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(flock(file.Get(), LOCK_EX | LOCK_NB), 0);
    }
    EXPECT_EQ(TextIn(_path), "precious");
}

TEST_F(HostLockTest, AFifoIsRefusedAndLeftAlone)
{
    ASSERT_EQ(mkfifo(_path.c_str(), 0600), 0);
    struct stat before = {}, after = {};
    ASSERT_EQ(stat(_path.c_str(), &before), 0);
    {
        const vx::HostLock lock(_path);
        EXPECT_FALSE(lock.IsHeld());
        EXPECT_EQ(lock.GetError(), InTheWay(_path));
    }
    ASSERT_EQ(lstat(_path.c_str(), &after), 0);
    EXPECT_TRUE(S_ISFIFO(after.st_mode));
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(HostLockTest, AFolderIsRefused)
{
    ASSERT_EQ(mkdir(_path.c_str(), 0700), 0);
    EXPECT_EQ(vx::HostLock(_path).GetError(), InTheWay(_path));
}

TEST_F(HostLockTest, AFileThatTookThePlaceOfTheHeldOneIsLeftAlone)
{
    {
        const vx::HostLock lock(_path);
        ASSERT_TRUE(lock.IsHeld());
        const std::string other = _folder.At("other");
        std::ofstream(other).close();
        ASSERT_EQ(rename(other.c_str(), _path.c_str()), 0);
    }
    EXPECT_TRUE(PipeFolder::Exists(_path));
}

TEST_F(HostLockTest, AHeldFileIntoWhichSomeoneWroteIsLeftAlone)
{
    {
        const vx::HostLock lock(_path);
        ASSERT_TRUE(lock.IsHeld());
        std::ofstream(_path) << "precious";
    }
    EXPECT_EQ(TextIn(_path), "precious");
}

TEST_F(HostLockTest, ALinkInThePlaceOfTheFileIsRefused)
{
    const std::string target = _folder.At("target");
    ASSERT_EQ(symlink(target.c_str(), _path.c_str()), 0);
    EXPECT_EQ(vx::HostLock(_path).GetError(), InTheWay(_path));
    EXPECT_FALSE(PipeFolder::Exists(target));
}

constexpr uid_t kNobody = 65534;

std::string BelongsTo(const std::string &user, const std::string &path)
{
    return path + " belongs to user " + user +
           "; if that user's host is not running, have the file removed; file of " + user;
}

std::string RefusalBy(const vx::HostLock &lock)
{
    return lock.GetError() + (lock.IsHeldByAnother() ? "; held by " : "; file of ") + lock.Owner();
}

// What a user without rights reads who tries the lock, and who is said to be the cause.
std::string RefusalForNobody(const std::string &path)
{
    int ends[2];
    if (pipe(ends) == -1)
        return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        std::string text = setgid(kNobody) == 0 && setuid(kNobody) == 0
                               ? RefusalBy(vx::HostLock(path))
                               : "no other user";
        _exit(write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0
                                                                                            : 1);
    }
    close(ends[1]);
    std::string text(4096, '\0');
    const ssize_t count = read(ends[0], text.data(), text.size());
    close(ends[0]);
    waitpid(child, nullptr, 0);
    text.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return text;
}

TEST_F(HostLockTest, AFileOfAnotherUserIsRefusedWithTheUsersName)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be two users";
    ASSERT_EQ(chmod(_folder.At("").c_str(), 01777), 0);
    const vx::HostLock lock(_path);
    for (const mode_t mode : {0600, 0666}) {
        ASSERT_EQ(chmod(_path.c_str(), mode), 0);
        EXPECT_EQ(RefusalForNobody(_path), BelongsTo("root", _path));
    }
}

TEST_F(HostLockTest, RootLeavesAFileOfAnotherUserAlone)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be two users";
    std::ofstream(_path).close();
    ASSERT_EQ(chown(_path.c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(RefusalBy(vx::HostLock(_path)), BelongsTo("nobody", _path));
    EXPECT_TRUE(PipeFolder::Exists(_path));
}

class FifoPairTest : public testing::Test {
protected:
    static mode_t ModeOf(const std::string &path)
    {
        struct stat status = {};
        stat(path.c_str(), &status);
        return status.st_mode;
    }

    PipeFolder _folder;
    const vx::LinkPaths _paths = {_folder.At("in"), _folder.At("out")};
};

TEST_F(FifoPairTest, BothAreMadeForThisUserAlone)
{
    const mode_t former = umask(0);
    EXPECT_EQ(vx::MakeFifoPair(_paths), "");
    umask(former);
    for (const std::string &path : {_paths.read, _paths.write})
        EXPECT_EQ(ModeOf(path), static_cast<mode_t>(S_IFIFO | 0600));
}

TEST_F(FifoPairTest, FifosThatACrashedHostLeftBehindAreReplaced)
{
    std::vector<vx::UniqueFd> orphan;
    for (const std::string &path : {_paths.read, _paths.write}) {
        ASSERT_EQ(mkfifo(path.c_str(), 0777), 0);
        orphan.emplace_back(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    }
    EXPECT_EQ(vx::MakeFifoPair(_paths), "");
    for (const std::string &path : {_paths.read, _paths.write}) {
        EXPECT_EQ(ModeOf(path), static_cast<mode_t>(S_IFIFO | 0600));
        const vx::UniqueFd writer(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        EXPECT_FALSE(bool(writer)) << "the orphan reads what is written to " << path;
    }
}

TEST_F(FifoPairTest, AFileInTheWayIsNamedAndLeftAlone)
{
    std::ofstream(_paths.write) << "somebody's file";
    const std::string error = vx::MakeFifoPair(_paths);
    EXPECT_NE(error.find(_paths.write), std::string::npos);
    EXPECT_TRUE(S_ISREG(ModeOf(_paths.write)));
    EXPECT_FALSE(PipeFolder::Exists(_paths.read)) << "both or neither";
}

TEST_F(FifoPairTest, AFifoOfAnotherUserIsNamedAndLeftAlone)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make a file of another user";
    struct stat before = {}, after = {};
    ASSERT_EQ(mkfifo(_paths.write.c_str(), 0666), 0);
    ASSERT_EQ(chown(_paths.write.c_str(), kNobody, kNobody), 0);
    ASSERT_EQ(lstat(_paths.write.c_str(), &before), 0);
    EXPECT_EQ(vx::MakeFifoPair(_paths),
              _paths.write + " is in the way: it is not a FIFO of this user");
    ASSERT_EQ(lstat(_paths.write.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_uid, kNobody);
    EXPECT_FALSE(PipeFolder::Exists(_paths.read)) << "both or neither";
}

TEST_F(FifoPairTest, ALinkInTheWayIsRefused)
{
    ASSERT_EQ(mkfifo(_folder.At("target").c_str(), 0600), 0);
    ASSERT_EQ(symlink(_folder.At("target").c_str(), _paths.read.c_str()), 0);
    EXPECT_NE(vx::MakeFifoPair(_paths), "");
}

TEST_F(FifoPairTest, AFolderThatIsNotThereIsAnError)
{
    EXPECT_NE(vx::MakeFifoPair({_folder.At("no/in"), _folder.At("no/out")}), "");
}

TEST(InstalledProgramsTest, AreUnknownWhereTheSystemDoesNotSayWhereThisOneIs)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can leave /proc";
    const PipeFolder folder;
    const pid_t child = fork();
    if (child == 0) {
        const bool isOut = chroot(folder.At("").c_str()) == 0 && chdir("/") == 0;
        const vx::HostPrograms programs = vx::InstalledPrograms();
        const bool isUnknown =
            programs.explorer.empty() && programs.trial.empty() && programs.info.empty();
        _exit(!isOut ? 2 : isUnknown ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

class QuitNoticeSinkTest : public testing::Test {
protected:
    bool TakesForNotice(uint32_t code)
    {
        const CCommandDataWrapper<char> record = {static_cast<COMMAND_TYPE>(code), 0,
                                                  CPipeDataWrapper::GetCommandDataLen(code), 0};
        _MSG_DATA_PACKAGE message = {};
        message.msgId = kAsyncMessageId;
        memcpy(message.body, &record, sizeof(record));
        _sink.OnCommand_Reply(nullptr, reinterpret_cast<const char *>(&message), sizeof(message));
        const auto event = _pipe.Await(vx::Deadline::clock::now());
        return event == vx::EventPipe::kQuitNotice;
    }

    vx::EventPipe _pipe;
    vx::QuitNoticeSink _sink{_pipe};
};

TEST_F(QuitNoticeSinkTest, OnlyItsCodeIsTheNotice)
{
    EXPECT_TRUE(TakesForNotice(CMD_EXPLORER_QUIT));
    for (uint32_t code = 0; code <= 40; ++code) {
        if (code != CMD_EXPLORER_QUIT)
            EXPECT_FALSE(TakesForNotice(code)) << code;
    }
    EXPECT_FALSE(TakesForNotice(UINT32_MAX));
}

// A channel with this many reports that wait.
class SessionEventsTest : public testing::Test {
protected:
    static constexpr int kReports = 60;  // the system holds them

    void SetUp() override
    {
        ASSERT_TRUE(_channel.Prepare({}));
        vx::ChildChannel child(vx::UniqueFd(fcntl(_channel.ChildDescriptor(), F_DUPFD_CLOEXEC, 3)));
        _channel.CloseChildDescriptor();
        child.Report(vx::ChannelOpened{});
        for (int i = 1; i < kReports; ++i)
            child.Report(vx::ChannelDamage{});
        ASSERT_TRUE(child.SendKept());
        _events.Listen(&_channel, [this](const vx::ChannelReport &) { ++_taken; });
    }

    bool Await(const vx::SessionEvents::Condition &condition)
    {
        return _events.Await(condition, vx::Deadline::clock::now() + std::chrono::seconds(30));
    }

    vx::EventPipe _pipe;
    vx::SessionEvents _events{_pipe};
    vx::HostChannel _channel;
    int _taken = 0;
};

TEST_F(SessionEventsTest, AnEventDoesNotWaitUntilAllReportsAreTaken)
{
    _pipe.Post(SIGTERM);
    EXPECT_TRUE(Await([this] { return _events.IsInterrupted(); }));
    EXPECT_LT(_taken, 10);
    EXPECT_EQ(_events.Interruption(), SIGTERM);
}

TEST_F(SessionEventsTest, ReportsAreTakenWhileNoEventComes)
{
    EXPECT_TRUE(Await([this] { return _taken == kReports; }));
    EXPECT_FALSE(_events.IsInterrupted());
}

TEST_F(SessionEventsTest, TheLastReportsOfAChildThatHasEndedAreTaken)
{
    _events.TakeLastReports();
    EXPECT_EQ(_taken, kReports);
    EXPECT_TRUE(_channel.HasEnded());
}

TEST_F(SessionEventsTest, ACancellationIsAnInterruptionWithoutASignal)
{
    _pipe.Post(vx::EventPipe::kCancel);
    _events.Look();
    EXPECT_TRUE(_events.IsInterrupted());
    EXPECT_EQ(_events.Interruption(), 0);
}

}  // namespace
