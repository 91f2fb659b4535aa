#include "VirtualDisplay.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace vxtest {
namespace {

constexpr int kAnswerTimeoutMs = 60000;

struct Pipe {
    int ends[2] = {-1, -1};
    bool Open() { return pipe2(ends, O_CLOEXEC) == 0; }
    void CloseEnd(int which)
    {
        if (ends[which] >= 0)
            close(ends[which]);
        ends[which] = -1;
    }
    ~Pipe()
    {
        CloseEnd(0);
        CloseEnd(1);
    }
};

// The server writes the number that it took, and a line end, to the descriptor.
[[noreturn]] void BecomeServer(int descriptor, const char *screen)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    fcntl(descriptor, F_SETFD, 0);
    const std::string number = std::to_string(descriptor);
    const int null = open("/dev/null", O_RDWR);
    dup2(null, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    execlp("Xvfb", "Xvfb", "-displayfd", number.c_str(), "-screen", "0", screen, "-nolisten", "tcp",
           "-noreset", static_cast<char *>(nullptr));
    _exit(127);
}

// The digits up to the line end; empty when the server ended or was too slow.
std::string ReadNumber(int descriptor)
{
    std::string number;
    pollfd waiting{descriptor, POLLIN, 0};
    for (;;) {
        char letter = 0;
        if (poll(&waiting, 1, kAnswerTimeoutMs) <= 0 || read(descriptor, &letter, 1) != 1)
            return {};
        if (letter == '\n')
            return number;
        number += letter;
    }
}

void Stop(pid_t server)
{
    kill(server, SIGTERM);
    while (waitpid(server, nullptr, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

std::unique_ptr<VirtualDisplay> VirtualDisplay::Start(const std::string &screen)
{
    Pipe answer;
    if (!answer.Open())
        return nullptr;
    const pid_t server = fork();
    if (server < 0)
        return nullptr;
    if (server == 0)
        BecomeServer(answer.ends[1], screen.c_str());
    answer.CloseEnd(1);
    const std::string number = ReadNumber(answer.ends[0]);
    if (number.empty()) {
        Stop(server);
        return nullptr;
    }
    setenv("DISPLAY", (":" + number).c_str(), 1);
    return std::unique_ptr<VirtualDisplay>(new VirtualDisplay(server, ":" + number));
}

VirtualDisplay::VirtualDisplay(pid_t server, std::string name)
    : m_server(server), m_name(std::move(name))
{
}

VirtualDisplay::~VirtualDisplay()
{
    Stop(m_server);
}

}  // namespace vxtest
