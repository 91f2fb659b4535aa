// Files that another program drags onto the window, over the X server.
#include "LiveHost.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

class LiveDropTest : public LiveHostTest {
protected:
    void SetUp() override
    {
        LiveHostTest::SetUp();
        volume.WriteFile("NOTE.TXT", "a note");
        MakeImages();
    }

    // What the other program ended with, while the application runs.
    std::string DropOnWindow(const std::string &type, const std::string &data,
                             const std::string &manner = "")
    {
        Focus();
        fs::remove(folder.At("dropped"));
        const std::string text = folder.WriteFile("drag", data);
        const NSRect frame = [Window() frame];
        const int x = static_cast<int>(NSMidX(frame));
        const int y = static_cast<int>(NSHeight([[NSScreen mainScreen] frame]) - NSMidY(frame));
        Run("(" VX_DRAG_SOURCE " " + type + " \"$(cat '" + text + "')\" " + std::to_string(x) +
            " " + std::to_string(y) + " " + manner + "; echo $? > '" + folder.At("ended") +
            "'; mv '" + folder.At("ended") + "' '" + folder.At("dropped") + "') >/dev/null 2>&1 &");
        EXPECT_TRUE(RunUntil([this] { return fs::exists(folder.At("dropped")); }));
        return folder.ReadFile("dropped");
    }
    std::string DropFiles(const std::string &uris, const std::string &manner = "")
    {
        return DropOnWindow("text/uri-list", uris, manner);
    }

    static constexpr char kTaken[] = "0\n";
    static constexpr char kRefused[] = "3\n";
};

TEST_F(LiveDropTest, AnImageThatAnotherProgramDropsOnTheWindowOpens)
{
    const std::string dropped = folder.At("50% für zwei.img");
    fs::rename(image, dropped);
    Begin();
    EXPECT_EQ(DropFiles("file://" + folder.At("50%25%20f%C3%BCr%20zwei.img") + "\r\n"), kTaken);
    EXPECT_TRUE(RunUntil([this] { return ![[Fields() passwordRow] isHidden]; }));
    EXPECT_EQ(Text([Pane() pathLabel]), dropped);
    Unlock(kPassword);
    CloseExplorer(AwaitExplorer());
    AwaitWindow();
}

TEST_F(LiveDropTest, AnImageWhoseNameIsNotUtf8IsDroppedByteForByte)
{
    fs::rename(plainImage, folder.At("d\xe9.img"));
    Begin();
    EXPECT_EQ(DropFiles("file://" + folder.At("d%e9.img") + "\r\n"), kTaken);
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    EXPECT_EQ(Text([Pane() pathLabel]), folder.At("d\uFFFD.img"));
}

TEST_F(LiveDropTest, OfSeveralFilesNoneIsChosenAndTheWindowSaysWhy)
{
    Begin();
    EXPECT_EQ(DropFiles("file://" + image + "\r\nfile://" + plainImage + "\r\n"), kTaken);
    EXPECT_TRUE(RunUntil([this] {
        return Message() == "Several files were dropped. Drop one image only.";
    })) << Message();
    EXPECT_EQ(Text([Pane() pathLabel]), "");
}

TEST_F(LiveDropTest, WhatIsNoFileOfThisMachineIsRefusedWhileItIsStillDragged)
{
    Begin();
    EXPECT_EQ(DropOnWindow("text/plain", image), kRefused);
    EXPECT_EQ(DropFiles("https://example.org/disk.img\r\n"), kRefused);
    EXPECT_EQ(DropFiles("file://elsewhere.example.org" + image + "\r\n"), kRefused);
    EXPECT_EQ(Message(), "");
    EXPECT_EQ(DropFiles("file://" + image + "\r\n"), kTaken);
}

TEST_F(LiveDropTest, AProgramThatStallsOrVanishesInTheMiddleHoldsUpNothing)
{
    Begin();
    EXPECT_EQ(DropFiles("file://" + image + "\r\n", "stall"), "5\n");
    EXPECT_EQ(DropFiles("file://" + image + "\r\n", "vanish"), "5\n");
    EXPECT_EQ(DropFiles("file://" + image + "\r\n"), kTaken);
    EXPECT_TRUE(RunUntil([this] { return ![[Fields() passwordRow] isHidden]; }));
}

TEST_F(LiveDropTest, AnAnswerToAnEarlierDragIsNotTakenForThatOfThePresentOne)
{
    Begin();
    EXPECT_EQ(DropFiles("file://" + plainImage, "late 'file://" + image + "'"), kTaken);
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); })) << Text([Pane() pathLabel]);
    EXPECT_EQ(Text([Pane() pathLabel]), plainImage);
}

TEST_F(LiveDropTest, WhileAVolumeIsTriedNothingCanBeDropped)
{
    WaitingTrial();
    Begin();
    OpenImage(image);
    Unlock(kPassword);
    EXPECT_TRUE(RunUntil([this] { return IsHeld(); }));
    EXPECT_EQ(DropFiles("file://" + plainImage + "\r\n"), kRefused);
    Click([Pane() cancelButton]);
    EXPECT_TRUE(RunUntil([this] { return Message() == "Cancelled."; }));
    EXPECT_EQ(DropFiles("file://" + plainImage + "\r\n"), kTaken);
    EXPECT_TRUE(RunUntil([this] { return Text([Pane() pathLabel]) == plainImage; }));
}

}  // namespace
