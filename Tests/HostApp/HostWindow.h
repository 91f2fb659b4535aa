// The window of Volume Host in the test's own process, with stand-ins for the system or with the
// system itself, and a real mouse and keyboard.
#pragma once

#import "HostAppDelegate.h"
#include "StandIns.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

class HostWindowTest : public testing::Test {
protected:
    enum class Services { kStandIns, kNone };

    HostWindowTest() : HostWindowTest(Services::kStandIns) {}
    // kNone: the window shows when the test has begun with services of its own.
    explicit HostWindowTest(Services services);
    ~HostWindowTest() override;

    // Runs the application's loop until the condition holds. False after twenty seconds.
    static bool RunUntil(const std::function<bool()> &condition);
    // Chooses the path and waits for its facts.
    void Choose(const std::string &path, const vx::DiskFacts &facts);
    void Choose(const std::string &path, const vx::VolumeFacts &volume);
    void ChooseKind(NSInteger index);

    virtual void Focus();
    // What a user does, through the X server.
    void Click(NSView *view);
    void Type(const std::string &text);
    void Key(const std::string &name);

    VolumePane *Pane() { return [delegate volumePane]; }
    SecretFields *Fields() { return [Pane() fields]; }
    NSTableView *List() { return [[delegate sourceList] tableView]; }
    NSWindow *Window() { return [delegate window]; }
    // Waits until the list has this row, by its name, and says where it is.
    NSInteger RowNamed(const std::string &name);
    std::string Message();
    std::string Details();
    static std::string Text(NSControl *control);
    bool CanUnlock() { return [[Pane() unlockButton] isEnabled]; }

    // What the session reports.
    void Refuse(int32_t status, const std::string &reason = "");
    void Start();
    void End(vx::SessionEndKind kind);

    HostAppDelegate *delegate = nil;
    vxtest::StandInDisks *disks = nullptr;
    vxtest::StandInFacts *facts = nullptr;
    vxtest::StandInSessions *sessions = nullptr;
    vxtest::StandInRights *rights = nullptr;
};
