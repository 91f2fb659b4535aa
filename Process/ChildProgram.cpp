#include "ChildProgram.h"

#include "PipedChild.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <thread>

namespace vx {
namespace {

using Kind = ChildEnd::Kind;

constexpr int kCancelPauseMilliseconds = 20;
constexpr size_t kErrorLimit = 64 * 1024;
// How long the end of a child is awaited that could not be killed, since it runs as another user.
constexpr std::chrono::seconds kLongestFarewell(2);

class RunningChild {
public:
    RunningChild(PipedChild child, const std::atomic<bool> &cancel)
        : _child(std::move(child)), _cancel(cancel)
    {
    }

    ChildEnd Finish(size_t outputLimit)
    {
        ChildEnd end;
        const bool isCut = !ReadAll(outputLimit, &end) || !AwaitEnd(&end);
        if (isCut) {
            kill(_child.process, SIGKILL);
            Farewell();
            end.kind = _cancel ? Kind::kCancelled : Kind::kTooMuch;
        }
        return end;
    }

private:
    // False if it was cancelled or printed too much.
    bool ReadAll(size_t outputLimit, ChildEnd *end)
    {
        while (_child.output || _child.errors) {
            struct pollfd wanted[] = {{_child.output.Get(), POLLIN, 0},
                                      {_child.errors.Get(), POLLIN, 0}};
            const int count = poll(wanted, std::size(wanted), kCancelPauseMilliseconds);
            if (_cancel)
                return false;
            if (count <= 0)
                continue;
            if (wanted[0].revents != 0)
                ReadSome(&_child.output, outputLimit + 1, &end->output);
            if (wanted[1].revents != 0)
                ReadSome(&_child.errors, kErrorLimit, &end->errors);
            if (end->output.size() > outputLimit)
                return false;
        }
        return true;
    }
    // What is beyond the limit is read and dropped. Closes the pipe at its end.
    static void ReadSome(UniqueFd *pipe, size_t limit, std::string *text)
    {
        char buffer[16 * 1024];
        const ssize_t count = read(pipe->Get(), buffer, sizeof(buffer));
        if (count > 0)
            text->append(buffer, std::min(static_cast<size_t>(count), limit - text->size()));
        else if (count == 0 || errno != EINTR)
            pipe->Close();
    }
    // False if it was cancelled.
    bool AwaitEnd(ChildEnd *end) const
    {
        while (!HasEnded(end)) {
            if (_cancel)
                return false;
            Pause();
        }
        return true;
    }
    void Farewell() const
    {
        const auto deadline = std::chrono::steady_clock::now() + kLongestFarewell;
        ChildEnd ignored;
        while (!HasEnded(&ignored) && std::chrono::steady_clock::now() < deadline)
            Pause();
    }
    bool HasEnded(ChildEnd *end) const
    {
        int status = 0;
        pid_t ended;
        do {
            ended = waitpid(_child.process, &status, WNOHANG);
        } while (ended < 0 && errno == EINTR);
        if (ended == _child.process) {
            end->kind = WIFSIGNALED(status) ? Kind::kSignalled : Kind::kExited;
            end->number = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
        }
        return ended != 0;
    }
    // No descriptor announces the end of a child on every system.
    static void Pause() { std::this_thread::sleep_for(std::chrono::milliseconds(2)); }

    PipedChild _child;
    const std::atomic<bool> &_cancel;
};

}  // namespace

ChildEnd RunChildProgram(const std::string &program, const std::vector<std::string> &arguments,
                         size_t outputLimit, const std::atomic<bool> &cancel)
{
    PipedChild child = StartPipedChild(program, arguments);
    if (child.error == 0)
        return RunningChild(std::move(child), cancel).Finish(outputLimit);
    ChildEnd end;
    end.kind = Kind::kNotStarted;
    end.number = child.error;
    return end;
}

}  // namespace vx
