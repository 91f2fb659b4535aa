// A session with a stand-in for the explorer, on FIFOs of its own, and on a thread of its own.
#include "HostSession.h"
#include "LibraryChannel.h"
#include "SessionThread.h"

#include "Eventually.h"
#include "FewDescriptors.h"
#include "PipeFolder.h"
#include "RecordingObserver.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using vx::SessionEndKind;

class HostSessionTest : public testing::Test {
protected:
    // A bundle beside this library; its explorer plays the mode. Without a library there is no
    // bundle either.
    std::unique_ptr<vx::HostRequest> Request(const char *library, const std::string &mode)
    {
        for (const char *former : {"libBitLockerWapper.dylib", "X.app/X"})
            unlink(_folder.At(former).c_str());
        if (*library != '\0')
            _folder.MakeLink("libBitLockerWapper.dylib", library);
        auto request = std::make_unique<vx::HostRequest>();
        const std::string explorer = _folder.MakeLink("X.app/X", FAKE_EXPLORER);
        request->programs = {*library == '\0' ? FAKE_EXPLORER : explorer, VOLUME_TRIAL, ""};
        request->volume = mode + ":" + _file;
        for (const char sign : std::string("open sesame"))
            request->secret.Append(sign);
        return request;
    }

    vx::SessionEnd Run(vx::HostRequest *request)
    {
        return vx::HostSession(_events, _observer, _paths).Run(request);
    }

    std::string Told() const
    {
        EXPECT_TRUE(Eventually([this] { return PipeFolder::Exists(_file); }));
        std::ostringstream text;
        text << std::ifstream(_file).rdbuf();
        return text.str();
    }

    bool NothingIsLeft() const
    {
        return !PipeFolder::Exists(_paths.read) && !PipeFolder::Exists(_paths.write) &&
               !PipeFolder::Exists(_paths.read + ".lock");
    }

    const vx::TemporaryFolder _folder;
    const std::string _file = _folder.At("told");
    const vx::LinkPaths _paths = {_folder.At("in"), _folder.At("out")};
    vx::EventPipe _events;
    RecordingObserver _observer;
};

TEST_F(HostSessionTest, TheMasterKeyOfTheTrialOpensTheVolumeInTheExplorer)
{
    const auto request = Request(KEY_LIBRARY, "opening");
    request->kind = "password";
    EXPECT_EQ(Run(request.get()).kind, SessionEndKind::kNoNotice);
    EXPECT_EQ(Told(),
              request->volume +
                  "\nvmk\n0001abff1c232a31383f464d545b626970777e858c939aa1a8afb6bdc4cbd2d9\n");
    EXPECT_THAT(_observer.lines, ElementsAre("progress 3 of 7", "opened", "started"));
}

TEST_F(HostSessionTest, WithoutAMasterKeyTheExplorerGetsTheSecret)
{
    const auto request = Request(KEY_LIBRARY, "opening");
    Run(request.get());
    EXPECT_EQ(Told(), request->volume + "\nnone\nopen sesame\n");
}

TEST_F(HostSessionTest, AnOlderLibraryGetsThreeTextsInTheArguments)
{
    const auto request = Request(OLD_LIBRARY, "arguments");
    request->kind = "password";
    Run(request.get());
    EXPECT_EQ(Told(), "password\nopen sesame\n" + std::to_string(getpid()) + "\n");
}

TEST_F(HostSessionTest, AnOlderLibraryGetsThemThoughTheTrialCrashedOrDidNotStart)
{
    for (const bool crashes : {true, false}) {
        const auto request = Request(crashes ? CRASHING_LIBRARY : OLD_LIBRARY, "arguments");
        if (!crashes)
            request->programs.trial = "/no/such/program";
        request->kind = "password";
        Run(request.get());
        EXPECT_EQ(Told(), "password\nopen sesame\n" + std::to_string(getpid()) + "\n");
        unlink(_file.c_str());
    }
}

TEST_F(HostSessionTest, ThePresentLibraryGetsThemOverTheChannelThoughTheTrialDidNotStart)
{
    const auto request = Request(KEY_LIBRARY, "opening");
    request->programs.trial = "/no/such/program";
    request->kind = "password";
    Run(request.get());
    EXPECT_EQ(Told(), request->volume + "\npassword\nopen sesame\n");
}

TEST(LibraryChannelTest, ANameOnTheBorderOfTwoPiecesIsFound)
{
    const vx::TemporaryFolder folder;
    const std::string name = "volume_library_visit_master_key";
    for (size_t begin = (64 << 10) - name.size() - 1; begin <= (64 << 10) + 1; ++begin)
        EXPECT_TRUE(vx::KnowsChannel(folder.WriteFile("a", std::string(begin, 'v') + name)));
    EXPECT_FALSE(vx::KnowsChannel(folder.WriteFile("a", std::string(200000, 'v'))));
    EXPECT_FALSE(vx::KnowsChannel(folder.WriteFile("a", "")));
    EXPECT_TRUE(vx::KnowsChannel(folder.At("missing")));
}

TEST_F(HostSessionTest, TheSecretIsOverwrittenBeforeTheStartIsReported)
{
    const auto request = Request(KEY_LIBRARY, "exit");
    bool wasEmpty = false;
    _observer.onStarted = [&] { wasEmpty = request->secret.IsEmpty(); };
    Run(request.get());
    EXPECT_TRUE(wasEmpty);
}

TEST_F(HostSessionTest, AnObserverThatWantsNoExplorerGetsTheReasonAndNothingIsStarted)
{
    const auto request = Request(CRASHING_LIBRARY, "arguments");
    _observer.wantsExplorer = false;
    const vx::SessionEnd end = Run(request.get());
    EXPECT_EQ(end.kind, SessionEndKind::kRefused);
    EXPECT_EQ(end.text, "the volume library ended unexpectedly");
    EXPECT_FALSE(PipeFolder::Exists(_file));
    EXPECT_TRUE(request->secret.IsEmpty());
    EXPECT_TRUE(NothingIsLeft());
}

TEST_F(HostSessionTest, WhatTheExplorerItselfCouldNotOpenIsReported)
{
    const auto request = Request(KEY_LIBRARY, "damage");
    Run(request.get());
    EXPECT_THAT(_observer.lines,
                ElementsAre("progress 3 of 7", "opened", "started",
                            HasSubstr("explorer did not open: cannot open damage:"),
                            HasSubstr("damage /a"), "damage /folder"));
}

TEST_F(HostSessionTest, AnOpeningThatEndsAsTheTrialDidIsNotReportedAgain)
{
    const auto request = Request(KEY_LIBRARY, "opened");
    request->kind = "noticing";
    Run(request.get());
    EXPECT_THAT(_observer.lines,
                ElementsAre("progress 3 of 7", "opened", "started", "damage /folder"));
}

TEST_F(HostSessionTest, WarningsThatOnlyTheExplorersOpeningHasAreReported)
{
    const auto request = Request(KEY_LIBRARY, "opened-with-more");
    request->kind = "noticing";
    Run(request.get());
    EXPECT_THAT(_observer.lines, ElementsAre("progress 3 of 7", "opened", "started",
                                             "explorer opened", "warning noticed later"));
}

TEST_F(HostSessionTest, AnEndWithoutTheLibrarysFarewellMayHaveLostReports)
{
    const auto request = Request(KEY_LIBRARY, "no-farewell");
    Run(request.get());
    EXPECT_THAT(_observer.lines, ElementsAre("progress 3 of 7", "opened", "started", "lost 0"));
}

TEST_F(HostSessionTest, WhyItEndedIsOneLineWithoutControlCharacters)
{
    const auto request = Request("", "exit");
    request->programs.explorer = "/no/\x1b]0;hi\a\nexplorer";
    EXPECT_THAT(Run(request.get()).text, HasSubstr("/no/\\x1b]0;hi\\x07\\nexplorer"));
    const std::string odd = _folder.At("od\x1b[2J\nd");
    const auto second = Request("", "exit");
    EXPECT_THAT(
        vx::HostSession(_events, _observer, {odd + "/in", odd + "/out"}).Run(second.get()).text,
        HasSubstr("/od\\x1b[2J\\nd/in"));
}

TEST_F(HostSessionTest, WithoutAPlaceForTheExplorerNothingIsStartedAndTheSecretIsGone)
{
    const auto request = Request("", "exit");
    request->programs = {};
    const vx::SessionEnd end = Run(request.get());
    EXPECT_EQ(end.kind, SessionEndKind::kNotStarted);
    EXPECT_EQ(end.text, "the system does not say where this program is, so the explorer beside it "
                        "is not found");
    EXPECT_TRUE(request->secret.IsEmpty());
}

TEST_F(HostSessionTest, AnExplorerThatIsNotThereIsTheEndAndTheSecretIsGone)
{
    const auto request = Request("", "exit");
    request->programs.explorer = "/no/such/explorer";
    const vx::SessionEnd end = Run(request.get());
    EXPECT_EQ(end.kind, SessionEndKind::kNotStarted);
    EXPECT_THAT(end.text, HasSubstr("cannot start /no/such/explorer: "));
    EXPECT_TRUE(request->secret.IsEmpty());
    EXPECT_TRUE(NothingIsLeft());
}

// The main thread of a program with a window has no handler of SIGCHLD.
class SessionThreadTest : public HostSessionTest {
protected:
    std::unique_ptr<vx::SessionThread> Start(std::unique_ptr<vx::HostRequest> request)
    {
        const auto ended = [this](const vx::SessionEnd &end) {
            const std::lock_guard<std::mutex> lock(_mutex);
            _end = end;
        };
        return std::make_unique<vx::SessionThread>(std::move(request), _observer, ended, _paths);
    }

    std::optional<vx::SessionEnd> End()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _end;
    }

    vx::SessionEnd AwaitEnd()
    {
        EXPECT_TRUE(Eventually([this] { return End().has_value(); }));
        return End().value_or(vx::SessionEnd{});
    }

    std::mutex _mutex;
    std::optional<vx::SessionEnd> _end;
};

TEST_F(SessionThreadTest, TheEndOfTheExplorerIsSeenWithoutAHandlerOfItsSignal)
{
    const auto thread = Start(Request("", "exit"));
    const vx::SessionEnd end = AwaitEnd();
    EXPECT_EQ(end.kind, SessionEndKind::kNoNotice);
    EXPECT_EQ(end.text, "exit status 3");
}

TEST_F(SessionThreadTest, WithoutDescriptorsForItsEventsASessionEndsAtOnce)
{
    auto request = Request("", "wait");
    const vx::TypedSecret &secret = request->secret;
    ASSERT_FALSE(End());  // a sanitizer's first look at this object takes descriptors
    std::optional<vx::FewDescriptors> none(0);
    const auto thread = Start(std::move(request));
    none.reset();
    EXPECT_TRUE(secret.IsEmpty());
    ASSERT_TRUE(End());
    EXPECT_EQ(End()->kind, SessionEndKind::kNotStarted);
    EXPECT_THAT(End()->text, HasSubstr("Too many open files"));
}

TEST_F(SessionThreadTest, ACancelledTrialEndsWithinASecondAndStartsNothing)
{
    for (const char *kind : {"password", "deaf"}) {
        auto request = Request(CANCELLABLE_LIBRARY, "wait");
        request->kind = kind;
        request->secret.Wipe();
        for (const char sign : _folder.Path())
            request->secret.Append(sign);
        _end.reset();
        const auto thread = Start(std::move(request));
        ASSERT_TRUE(Eventually([&] { return PipeFolder::Exists(_folder.At("opening")); }));
        const auto start = std::chrono::steady_clock::now();
        thread->Cancel();
        const vx::SessionEnd end = AwaitEnd();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
        EXPECT_EQ(end.kind, SessionEndKind::kInterrupted);
        EXPECT_EQ(end.signal, 0);
        EXPECT_EQ(PipeFolder::Exists(_folder.At("cancelled")), kind == std::string("password"));
        EXPECT_FALSE(PipeFolder::Exists(_file));
        EXPECT_TRUE(NothingIsLeft());
        for (const char *file : {"opening", "cancelled"})
            unlink(_folder.At(file).c_str());
    }
    EXPECT_THAT(_observer.lines, ElementsAre());
}

TEST_F(SessionThreadTest, ACancelledSessionEndsTheExplorer)
{
    const auto thread = Start(Request("", "wait"));
    const pid_t explorer = std::stoi(Told());
    thread->Cancel();
    EXPECT_EQ(AwaitEnd().kind, SessionEndKind::kInterrupted);
    EXPECT_EQ(kill(explorer, 0), -1);
    EXPECT_TRUE(NothingIsLeft());
}

TEST_F(SessionThreadTest, AnExplorerThatIsEndedOwesNoFarewell)
{
    const auto thread = Start(Request(KEY_LIBRARY, "opened-and-wait"));
    Told();
    thread->Cancel();
    EXPECT_EQ(AwaitEnd().kind, SessionEndKind::kInterrupted);
    EXPECT_THAT(_observer.lines, ElementsAre("progress 3 of 7", "opened", "started"));
}

TEST_F(SessionThreadTest, DestroyingItEndsTheSession)
{
    auto thread = Start(Request("", "wait"));
    const pid_t explorer = std::stoi(Told());
    thread.reset();
    EXPECT_EQ(End().value_or(vx::SessionEnd{}).kind, SessionEndKind::kInterrupted);
    EXPECT_EQ(kill(explorer, 0), -1);
}

TEST_F(SessionThreadTest, ASecondSessionOnTheSameLinkIsRefusedAndTheFirstGoesOn)
{
    const auto first = Start(Request("", "wait"));
    const pid_t explorer = std::stoi(Told());
    const auto request = Request("", "exit");
    const vx::SessionEnd second = Run(request.get());
    EXPECT_EQ(second.kind, SessionEndKind::kLinkTaken);
    EXPECT_THAT(second.text, HasSubstr("another host is running"));
    EXPECT_TRUE(second.isHeld);
    EXPECT_EQ(kill(explorer, 0), 0);
    EXPECT_FALSE(End().has_value());
}

}  // namespace
