#include "ReadingRight.h"

#include "ChildProgram.h"
#include "DeviceFolder.h"
#include "LineText.h"
#include "ReadingRightCommand.h"
#include "ShellWord.h"
#include "UserName.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

using Answer = RightRequest::Answer;

constexpr size_t kLongestOutput = 64 * 1024;
// Exit statuses of pkexec(1).
constexpr int kDismissedByUser = 126;
constexpr int kNotAuthorized = 127;

std::string WithoutLinks(const std::string &path)
{
    char real[PATH_MAX];
    return realpath(path.c_str(), real) == nullptr ? "" : real;
}

// The path without links; empty unless it is a block device in the folder of devices.
std::string CheckedDevice(const std::string &path)
{
    std::string real = WithoutLinks(path);
    const std::string folder = WithoutLinks(DeviceFolder()) + "/";
    struct stat found;
    const bool isInside = real.compare(0, folder.size(), folder) == 0;
    if (!isInside || stat(real.c_str(), &found) != 0 || !S_ISBLK(found.st_mode))
        return "";
    return real;
}

// Its owner needs no administrator to change what may be done with it. Empty: this user is not.
std::string CommandOfOwner(const std::string &path)
{
    struct stat found;
    if (stat(path.c_str(), &found) != 0 || found.st_uid != getuid())
        return "";
    if (S_ISDIR(found.st_mode))
        return "chmod u+rx " + ShellWord(path);
    return S_ISREG(found.st_mode) ? "chmod u+r " + ShellWord(path) : "";
}

// As a shell looks for programs; where the administrator's are too, since pkexec looks there.
bool IsInstalled(const std::string &program)
{
    const char *path = getenv("PATH");
    const std::string folders =
        std::string(path == nullptr ? "" : path) + ":/usr/sbin:/usr/bin:/bin";
    for (size_t begin = 0; begin < folders.size();) {
        const size_t end = std::min(folders.find(':', begin), folders.size());
        const std::string file = folders.substr(begin, end - begin) + "/" + program;
        if (end > begin && access(file.c_str(), X_OK) == 0)
            return true;
        begin = end + 1;
    }
    return false;
}

RightRequest Answered(Answer answer, const std::string &text, const std::string &errors = "")
{
    const std::string detail = LineText(errors.substr(0, errors.find('\n')));
    return {answer, detail.empty() ? text : text + ": " + detail};
}

RightRequest AnswerOf(const ChildEnd &end, const std::string &device)
{
    using Kind = ChildEnd::Kind;
    if (end.kind == Kind::kCancelled)
        return Answered(Answer::kCancelled, "the question was withdrawn");
    if (end.kind == Kind::kNotStarted)
        return Answered(end.number == ENOENT ? Answer::kMissing : Answer::kFailed,
                        std::string("pkexec could not be started: ") + strerror(end.number));
    if (end.ExitedWith(kDismissedByUser))
        return Answered(Answer::kDismissed, "the question was closed without an answer");
    if (end.ExitedWith(kNotAuthorized))
        return Answered(Answer::kRefused, "the system did not give the right", end.errors);
    if (!end.ExitedWith(0))
        return Answered(Answer::kFailed, "setfacl could not give the right", end.errors);
    if (!MayRead(device))
        return Answered(Answer::kFailed, "setfacl succeeded, but the device still may not be read");
    return {Answer::kGranted, ""};
}

}  // namespace

bool MayRead(const std::string &path)
{
    return access(path.c_str(), R_OK) == 0;
}

bool IsDevice(const std::string &path)
{
    return !CheckedDevice(path).empty();
}

std::string ReadingRightCommandFor(const std::string &path)
{
    std::string own = CommandOfOwner(path);
    if (!own.empty())
        return own;
    const std::string name = UserName(getuid());
    const std::string user = name.empty() ? std::to_string(getuid()) : name;
    return ReadingRightCommand(ShellWord(user), ShellWord(path));
}

RightRequest AskForReadingRight(const std::string &device, const std::atomic<bool> &cancel)
{
    const std::string checked = CheckedDevice(device);
    if (checked.empty())
        return Answered(Answer::kNoDevice, "this is no disk or partition of the system");
    if (MayRead(checked))
        return {Answer::kGranted, ""};
    for (const char *program : {"pkexec", "setfacl"}) {
        if (!IsInstalled(program))
            return Answered(Answer::kMissing, std::string(program) + " is not installed");
    }
    // Its own agent would ask on a terminal that nobody may look at.
    const std::vector<std::string> arguments = {"--disable-internal-agent",
                                                "setfacl",
                                                "-m",
                                                "u:" + std::to_string(getuid()) + ":r",
                                                "--",
                                                checked};
    return AnswerOf(RunChildProgram("pkexec", arguments, kLongestOutput, cancel), checked);
}

}  // namespace vx
