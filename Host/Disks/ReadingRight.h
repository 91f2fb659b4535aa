// The right of this user to read a device, which usually only the administrator has, or an image.
//
// Threads: any. Texts: UTF-8, one line.
#pragma once

#include <atomic>
#include <string>

namespace vx {

// Whether this user may read the device or file; false too if it is gone.
bool MayRead(const std::string &path);

// Whether the path leads to a device below /dev.
bool IsDevice(const std::string &path);

// The command to copy into a terminal: "sudo setfacl -m u:anna:r /dev/sdb1". The right lasts until
// the device is unplugged. For an image or folder of this user: "chmod u+r disk.img".
std::string ReadingRightCommandFor(const std::string &path);

// Whether this system has a way to ask, be it installed or not. Without it the command is the way.
bool CanAskForReadingRight();

struct RightRequest {
    enum class Answer {
        kGranted,
        kDismissed,  // the user has closed the question
        kRefused,    // wrong password, not allowed, or nothing on this desktop that could ask
        kMissing,    // no pkexec or no setfacl: the command is the way then
        kNoDevice,   // the path leads to no device below /dev; nothing was asked
        kCancelled,
        kFailed,
    };

    Answer answer = Answer::kFailed;
    std::string text;  // why it was not granted
};

// Asks through polkit (pkexec) for what the command does, and waits for the answer. Links are
// resolved first. cancel: may be set on any thread; the question is withdrawn.
RightRequest AskForReadingRight(const std::string &device, const std::atomic<bool> &cancel);

}  // namespace vx
