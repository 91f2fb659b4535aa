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
    bool open() { return pipe2(ends, O_CLOEXEC) == 0; }
    void closeEnd(int which)
    {
        if (ends[which] >= 0)
            close(ends[which]);
        ends[which] = -1;
    }
    ~Pipe()
    {
        closeEnd(0);
        closeEnd(1);
    }
};

// The server writes the number that it took, and a line end, to the descriptor.
[[noreturn]] void becomeServer(int descriptor, const char *screen)
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
std::string readNumber(int descriptor)
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

void stop(pid_t server)
{
    kill(server, SIGTERM);
    while (waitpid(server, nullptr, 0) < 0 && errno == EINTR) {
    }
}

}  // namespace

std::unique_ptr<VirtualDisplay> VirtualDisplay::start(const std::string &screen)
{
    Pipe answer;
    if (!answer.open())
        return nullptr;
    const pid_t server = fork();
    if (server < 0)
        return nullptr;
    if (server == 0)
        becomeServer(answer.ends[1], screen.c_str());
    answer.closeEnd(1);
    const std::string number = readNumber(answer.ends[0]);
    if (number.empty()) {
        stop(server);
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
    stop(m_server);
}

}  // namespace vxtest
