// Volumes that are unlocked in the window, from the first click to the explorer's end.
#include "ChildProcess.h"
#include "HostTexts.h"
#include "LiveHost.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class LiveUnlockTest : public LiveHostTest {
protected:
    void SetUp() override
    {
        LiveHostTest::SetUp();
        volume.WriteFile("NOTE.TXT", "a note");
        MakeImages();
    }

    // By the mouse: the menu opens over the button, and its items have the height of it.
    void PickKind(const std::string &title)
    {
        NSPopUpButton *popUp = [Pane() kindPopUp];
        const NSInteger index = [popUp indexOfItemWithTitle:vx::TextOf(title)];
        ASSERT_GE(index, 0) << title;
        Drag(popUp, NSHeight([popUp bounds]) * (index - [popUp indexOfSelectedItem]));
        EXPECT_TRUE(RunUntil([&] { return [popUp indexOfSelectedItem] == index; })) << title;
    }

    void PickFile(const std::string &path)
    {
        TypeIntoPanel("Open", path);
        Click([Fields() chooseButton]);
        EXPECT_TRUE(RunUntil([&] { return Text([Fields() fileField]) == path; }));
    }

    // The first and the last column of the view that is red on the screen; -1 without any.
    std::pair<int, int> RedColumns(NSView *view)
    {
        const NSRect frame = [view convertRect:[view bounds] toView:nil];
        const NSPoint low = [Window() convertBaseToScreen:frame.origin];
        const CGFloat screen = NSHeight([[NSScreen mainScreen] frame]);
        std::ostringstream area;
        area << static_cast<int>(NSWidth(frame)) << "x" << static_cast<int>(NSHeight(frame)) << "+"
             << static_cast<int>(low.x) << "+"
             << static_cast<int>(screen - low.y - NSHeight(frame));
        std::istringstream columns(Run("import -silent -window root -depth 8 -crop " + area.str() +
                                       " +repage txt:- | grep -E '#[C-F].[0-5].[0-5].' | "
                                       "cut -d, -f1 | sort -n"));
        std::pair<int, int> ends = {-1, -1};
        for (int column = 0; columns >> column; ends.second = column)
            ends.first = ends.first < 0 ? column : ends.first;
        return ends;
    }

    static std::string Contents(const fs::path &path)
    {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

    // What of the machine shows the text: arguments and environments, properties of windows, and
    // what this test's programs have written.
    static std::string PlacesOf(const std::string &text)
    {
        std::string places;
        const auto look = [&](const std::string &place, const std::string &contents) {
            if (contents.find(text) != std::string::npos)
                places += place + "\n";
        };
        for (const auto &process : fs::directory_iterator("/proc")) {
            for (const char *name : {"cmdline", "environ"})
                look(process.path() / name, Contents(process.path() / name));
        }
        std::istringstream ids(Run("xwininfo -root -tree | grep -o '0x[0-9a-f]*' | sort -u"));
        for (std::string id; std::getline(ids, id);)
            look("window " + id, Run("xprop -len 100000 -id " + id));
        for (const auto &file : fs::recursive_directory_iterator(getenv("HOME"))) {
            if (file.is_regular_file())
                look(file.path(), Contents(file.path()));
        }
        return places;
    }

    void ExpectSession()
    {
        CloseExplorer(AwaitExplorer());
        AwaitWindow();
        EXPECT_EQ(Message(), "");
        EXPECT_FALSE([[[delegate damageWindow] window] isVisible]);
    }

    // As Windows saves it.
    std::string RecoveryFile()
    {
        return folder.WriteFile("Recovery.TXT",
                                "BitLocker Drive Encryption recovery key\r\n\r\n"
                                "Identifier:\r\n\r\n\tDC9F5548-C28C-89EB-498A-8ACA33E53BD1\r\n\r\n"
                                "Recovery Key:\r\n\r\n\t" +
                                    std::string(kRecoveryKey) + "\r\n");
    }
};

TEST_F(LiveUnlockTest, APasswordOpensTheExplorerAndTheWindowComesBackEmpty)
{
    Begin();
    OpenImage(image);
    Unlock(kPassword);
    ExpectSession();
    EXPECT_EQ(Text([Fields() hiddenField]), "");
    OpenImage(plainImage);
    EXPECT_EQ(Message(), "");
    Click([Pane() unlockButton]);
    ExpectSession();
}

TEST_F(LiveUnlockTest, TheDigitsOfARecoveryKeyOpenTheExplorer)
{
    Begin();
    OpenImage(image);
    PickKind("Recovery key (DC9F5548)");
    std::string digits(kRecoveryKey);
    digits.erase(std::remove(digits.begin(), digits.end(), '-'), digits.end());
    Unlock(digits);
    ExpectSession();
    EXPECT_EQ(Text([Fields() digitsField]), "");
}

TEST_F(LiveUnlockTest, AStartupKeyFileOpensTheExplorer)
{
    Begin();
    OpenImage(image);
    PickKind("Startup key file (.BEK)");
    PickFile(startupKey);
    Click([Pane() unlockButton]);
    ExpectSession();
}

TEST_F(LiveUnlockTest, ARecoveryKeyFileOpensTheExplorer)
{
    Begin();
    OpenImage(image);
    PickKind("Recovery key file (.TXT)");
    PickFile(RecoveryFile());
    Click([Pane() unlockButton]);
    ExpectSession();
}

TEST_F(LiveUnlockTest, AVolumeThatIsNotEncryptedNeedsNothing)
{
    Begin();
    OpenImage(plainImage);
    EXPECT_TRUE([[Pane() kindRow] isHidden]);
    Click([Pane() unlockButton]);
    ExpectSession();
}

TEST_F(LiveUnlockTest, AFileOfTheWrongKindIsRefusedAndTheKindStays)
{
    Begin();
    OpenImage(image);
    PickKind("Startup key file (.BEK)");
    PickFile(RecoveryFile());
    Click([Pane() unlockButton]);
    EXPECT_TRUE(RunUntil([this] { return !Message().empty(); }));
    EXPECT_EQ(Message().find("This is not a key file of this kind."), 0u) << Message();
    EXPECT_EQ(vx::BytesOf([[Pane() kindPopUp] titleOfSelectedItem]), "Startup key file (.BEK)");
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    PickFile(startupKey);
    Click([Pane() unlockButton]);
    ExpectSession();
}

TEST_F(LiveUnlockTest, AWrongPasswordIsRefusedAndTheRightOneIsTypedOverIt)
{
    Begin();
    OpenImage(image);
    Unlock("Zk4-other-word");
    EXPECT_TRUE(RunUntil([this] { return !Message().empty() && CanUnlock(); }));
    EXPECT_EQ(Message(), "This password does not open the volume.");
    EXPECT_THAT(Details(), testing::HasSubstr("recovery password (Key ID DC9F5548)"));
    EXPECT_EQ(ProcessesOf("FileExplorer"), "");
    Unlock(kPassword);
    ExpectSession();
}

TEST_F(LiveUnlockTest, ARecoveryKeyOfAnotherVolumeIsRefusedAndTheIdentifierIsThere)
{
    Begin();
    OpenImage(image);
    PickKind("Recovery key (DC9F5548)");
    Unlock("000011000022000033000044000055000066000077000088");
    EXPECT_TRUE(RunUntil([this] { return !Message().empty() && CanUnlock(); }));
    EXPECT_EQ(Message(),
              "This recovery key does not open the volume. Compare the key identifiers.");
    EXPECT_EQ(Text([Fields() hintLabel]), "Key identifier: DC9F5548");
}

TEST_F(LiveUnlockTest, OnlyTheMistypedGroupOfARecoveryKeyIsRedOnTheScreen)
{
    Begin();
    OpenImage(image);
    PickKind("Recovery key (DC9F5548)");
    Type("111111222222333334444444");
    EXPECT_TRUE(RunUntil([this] {
        return Text([Fields() hintLabel]) == "Key identifier: DC9F5548\nMistyped: group 3.";
    }));
    std::pair<int, int> red;
    EXPECT_TRUE(RunUntil([&] {
        red = RedColumns([Fields() digitsField]);
        return red.first >= 0;
    }));
    const CGFloat advance = [[[Fields() digitsField] font] maximumAdvancement].width;
    // The group begins after two others and two hyphens, a little right of the field's edge.
    EXPECT_GE(red.first, 14 * advance);
    EXPECT_LE(red.second, 22 * advance);
    EXPECT_GE(red.second - red.first, 4 * advance);
    for (int i = 0; i < 8; ++i)
        Key("BackSpace");
    EXPECT_TRUE(
        RunUntil([this] { return Text([Fields() hintLabel]) == "Key identifier: DC9F5548"; }));
    EXPECT_TRUE(RunUntil([this] { return RedColumns([Fields() digitsField]).first < 0; }));
}

TEST_F(LiveUnlockTest, ACancelledTrialIsGoneAtOnceAndTheNextOneOpens)
{
    WaitingTrial();
    Begin();
    OpenImage(image);
    Unlock(kPassword);
    EXPECT_TRUE(RunUntil([this] { return IsHeld(); }));
    EXPECT_NE(ProcessesOf("waiting-trial"), "");
    Click([Pane() cancelButton]);
    EXPECT_TRUE(RunUntil([this] { return Message() == "Cancelled."; }));
    EXPECT_EQ(ProcessesOf("waiting-trial"), "");
    EXPECT_TRUE(CanUnlock());
    folder.WriteFile("go", "");
    Key("Return");
    ExpectSession();
}

// What it had yet to report went with it: the list says so, and has the keyboard.
TEST_F(LiveUnlockTest, AnExplorerThatIsKilledIsReportedAndTheVolumeOpensAgain)
{
    Begin();
    OpenImage(plainImage);
    Click([Pane() unlockButton]);
    AwaitExplorer();
    const int explorer = atoi(ProcessesOf("FileExplorer").c_str());
    ASSERT_GT(explorer, 1);
    kill(explorer, SIGKILL);
    AwaitWindow();
    EXPECT_EQ(Message().find("The explorer ended unexpectedly."), 0u) << Message();
    CloseList();
    Focus();
    Key("Return");
    ExpectSession();
}

// The program itself: nothing but keys reaches it.
TEST_F(LiveUnlockTest, TheKeyboardAloneLeadsFromTheStartToTheExplorer)
{
    ChildProcess host(VX_HOST_WINDOW, {});
    EXPECT_TRUE(RunUntil([] { return !IdOf("Volume Host").empty(); }));
    const auto press = [](const std::string &keys) {
        Run("xdotool sleep 0.5 windowactivate " + IdOf("Volume Host") + " sleep 0.3 " + keys);
    };
    press("key --delay 60 ctrl+o");
    TypeIntoPanel("Open", image);
    EXPECT_TRUE(RunUntil([] { return !IdOf("Open").empty(); }));
    EXPECT_TRUE(RunUntil([] { return IdOf("Open").empty(); }));
    // The keyboard is with the password as soon as the volume has been read.
    press("sleep 1.5 type --delay 15 " + std::string(kPassword));
    press("key Return");
    std::string explorer;
    EXPECT_TRUE(RunUntil([&] {
        explorer = IdOf("File Explorer");
        return !explorer.empty();
    }));
    CloseExplorer(explorer);
    EXPECT_TRUE(RunUntil([] { return !IdOf("Volume Host").empty(); }));
    press("key --delay 60 ctrl+q");
    EXPECT_EQ(host.AwaitEnd(), 0);
}

TEST_F(LiveUnlockTest, NoProcessNoWindowAndNoFileShowsTheSecret)
{
    WaitingTrial();
    Begin();
    OpenImage(image);
    PickKind("Recovery key (DC9F5548)");
    Unlock(kRecoveryKey);
    EXPECT_TRUE(RunUntil([this] { return IsHeld(); }));
    EXPECT_EQ(PlacesOf(kRecoveryKey), "");
    folder.WriteFile("go", "");
    const std::string explorer = AwaitExplorer();
    EXPECT_EQ(PlacesOf(kRecoveryKey), "");
    EXPECT_NE(PlacesOf("host-channel"), "") << "the search finds what is there";
    CloseExplorer(explorer);
    AwaitWindow();
    EXPECT_EQ(PlacesOf(kRecoveryKey), "");
}

TEST_F(LiveUnlockTest, ASecondHostIsSentAwayAndLeavesTheFirstOnesExplorerAlone)
{
    ChildProcess first(VX_HOST_WINDOW, {plainImage});
    EXPECT_TRUE(RunUntil([] { return !IdOf("Volume Host").empty(); }));
    Run("xdotool sleep 1 windowactivate " + IdOf("Volume Host") + " sleep 0.5 key Return");
    std::string explorer;
    EXPECT_TRUE(RunUntil([&] {
        explorer = IdOf("File Explorer");
        return !explorer.empty() && IdOf("Volume Host").empty();
    }));
    Begin();
    OpenImage(image);
    Unlock(kPassword);
    EXPECT_TRUE(RunUntil([this] { return !Message().empty() && CanUnlock(); }));
    EXPECT_EQ(Message().find("The explorer is running already. Quit it first."), 0u) << Message();
    EXPECT_EQ(IdOf("File Explorer"), explorer);
    CloseExplorer(explorer);
    EXPECT_TRUE(RunUntil([] { return IdOf("File Explorer").empty(); }));
    first.Signal(SIGTERM);
    EXPECT_EQ(first.AwaitEnd(), 0);
    EXPECT_TRUE(CanUnlock());
    Click([Pane() unlockButton]);
    ExpectSession();
}

}  // namespace
