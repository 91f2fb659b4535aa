// The program on a volume that stalls in the middle of a call, with mouse and keys.
#pragma once

#include "UserFixture.h"

#include <string>

// The stand-in library stalls on two FIFOs: opening one says that it has come there, opening the
// other lets it go on. Both are opened without waiting, so that a deadline holds.
class UserStallTest : public UserTest {
protected:
    UserStallTest() = default;
    ~UserStallTest() override;
    UserStallTest(const UserStallTest &) = delete;
    UserStallTest &operator=(const UserStallTest &) = delete;
    void SetUp() override;

    // Lets the call that stalls go on, once there is one.
    bool Release();
    // Starts the export of the second of three files, which stalls in the middle; returns the
    // main window.
    std::string StartStallingExport();

    const std::string _stall = _volume.MakeFolder("stall");
    const std::string _partial = destination + "/two.bin";
    int _stalled = -1;
};
