// The window of Volume Host with nothing stood in for: real volumes, the real trial and the real
// explorer, on the link's own paths; so one test at a time.
#pragma once

#include "ChildProcess.h"
#include "HostRequest.h"
#include "HostWindow.h"
#include "TemporaryFolder.h"

#include <memory>

class LiveHostTest : public HostWindowTest {
protected:
    static constexpr char kPassword[] = "Zk4-unsaid-word";
    static constexpr char kRecoveryKey[] =
        "111111-222222-333333-444444-555555-666666-000000-000011";

    LiveHostTest();

    void SetUp() override;
    void TearDown() override;

    // By way of the window manager.
    void Focus() override;
    bool HasFrameAtServer(const std::string &id);

    // Shows the window. A test that stands in for a part of the system does so before.
    void Begin();

    // The output of a command.
    static std::string Run(const std::string &command);

    // A FAT volume that holds the folder's files, as it is and encrypted with the password, the
    // recovery key and a startup key.
    void MakeImages();
    void OpenImage(const std::string &path);
    // Types what the volume is unlocked with, and Return.
    void Unlock(const std::string &secret);

    // From now on a trial waits until there is a file "go" in the folder; then it is the real one.
    void WaitingTrial();
    bool IsHeld() const;

    // A press at the one and a release at the other place of the view, while the application runs.
    void Drag(NSView *view, CGFloat down);
    // Types the path into the panel of this title and confirms it, while the application runs.
    static void TypeIntoPanel(const std::string &title, const std::string &path);

    // Of a window on the display that is not this process's; empty if there is none.
    static std::string IdOf(const std::string &title);
    // Waits until the explorer has opened and this window has gone.
    std::string AwaitExplorer();
    static void CloseExplorer(const std::string &id);
    // Waits until this window is back, and checks that nothing of the session is left.
    void AwaitWindow();
    // The list that has come with the window has the keyboard, and Return closes it.
    void CloseList();
    // The processes of this test's session that run the program.
    std::string ProcessesOf(const std::string &program) const;

    vx::TemporaryFolder folder;
    vx::TemporaryFolder volume;
    vx::HostPrograms programs;
    std::unique_ptr<ChildProcess> manager;  // of the windows
    const std::string plainImage = folder.At("plain.img");
    const std::string image = folder.At("disk.img");
    const std::string startupKey = folder.At("key.BEK");
};
