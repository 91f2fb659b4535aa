// The program as a user meets it: started by volume-host, used with mouse and keys on a display of
// its own, with a home of its own. On the link's own paths, so one test at a time.
#pragma once

#include "ChildProcess.h"
#include "TemporaryFolder.h"
#include "VirtualDisplay.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

class UserTest : public testing::Test {
protected:
    // The title of the panel in which a folder is chosen.
    static constexpr char kPanel[] = "Choose a Folder";
    static constexpr int kStayedShut = 8;  // the host's status after a volume that did not open

    void SetUp() override;
    void TearDown() override;

    // The output of a command of the desktop's tools.
    static std::string Run(const std::string &command);

    // The id of the visible window of that title, once there is one.
    std::string Window(const std::string &title);
    bool IsGone(const std::string &title);
    // The main window, once it has drawn itself.
    std::string DrawnWindow();
    // Waits until the pixels of the window stand still, that is until it has drawn itself.
    void AwaitDrawn(const std::string &id);
    // What a window manager does; where one runs it is asked with activate().
    void Focus(const std::string &id) { Run("xdotool windowfocus " + id); }

    // A real window manager, for the rest of the test. It decorates the windows and moves the
    // focus.
    void StartWindowManager();
    void Activate(const std::string &id);
    // The id of the window that lies in front of all that the manager keeps.
    static int FrontWindow();
    // The button in the title bar that the window manager draws.
    void ClickCloseButton(const std::string &id);

    // "X=", "Y=", "WIDTH=" or "HEIGHT=" of a window, without its decorations.
    static int Geometry(const std::string &id, const std::string &name);

    // As short as a click of a quick hand.
    void Click(const std::string &id, int x, int y, const std::string &held = "");
    // bottom: points above the window's lower edge.
    void ClickAbove(const std::string &id, int x, int bottom);
    // At the pace of a user, here and in click(): some of the program's answers depend on it.
    void Key(const std::string &name) { Run("xdotool sleep 0.3 key --delay 60 " + name); }
    void Type(const std::string &text) { Run("xdotool sleep 0.3 type --delay 25 '" + text + "'"); }
    // Selects the row at this height and exports it; returns the panel.
    std::string AskForPanel(const std::string &main, int y);
    // Types the path into the panel and confirms it.
    void ChooseFolder(const std::string &path);

    // The program and the host as installed, beside a library of the test's, or none if that is
    // empty. Returns the host's path.
    std::string Install(const std::string &library);

    // The program ends with its notice to the host, and says nothing else: by itself, or when its
    // window is closed.
    // status: of the host.
    static void ExpectNotice(ChildProcess &host, int status = 0);
    void CloseAndExpectNotice(const std::string &main, ChildProcess &host, int status = 0);
    static bool SameTree(const std::string &from, const std::string &to);

    std::unique_ptr<vxtest::VirtualDisplay> _display;
    std::unique_ptr<ChildProcess> _manager;
    vx::TemporaryFolder _home;
    vx::TemporaryFolder _volume;
    vx::TemporaryFolder _destination;
    const std::string destination = _destination.MakeFolder("only/out");
};
