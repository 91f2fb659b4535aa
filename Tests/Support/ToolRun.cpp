#include "ToolRun.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr int kDeadlineMilliseconds = 30000;
constexpr uid_t kNobody = 65534;

void Require(bool done, const char *what)
{
    if (!done)
        throw std::system_error(errno, std::generic_category(), what);
}

// In the child: becomes the program.
[[noreturn]] void Become(const std::string &program, char **arguments,
                         const ToolRun::Settings &settings)
{
    if (settings.fileSizeLimit != 0) {
        const rlimit limit = {settings.fileSizeLimit, settings.fileSizeLimit};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    rlimit core = {};
    if (settings.mayDumpCore && getrlimit(RLIMIT_CORE, &core) == 0) {
        core.rlim_cur = core.rlim_max;
        setrlimit(RLIMIT_CORE, &core);
    }
    if (!settings.folder.empty() && chdir(settings.folder.c_str()) != 0)
        _exit(125);
    if (settings.withoutPrivileges && geteuid() == 0 &&
        (setgid(kNobody) != 0 || setuid(kNobody) != 0))
        _exit(126);
    execv(program.c_str(), arguments);
    _exit(127);
}

// False at the end of what can be read.
bool ReadSome(int end, std::string *text)
{
    char bytes[65536];
    const ssize_t got = read(end, bytes, sizeof(bytes));
    if (got <= 0)
        return false;
    text->append(bytes, static_cast<size_t>(got));
    return true;
}

void CloseEnd(int *end)
{
    if (*end >= 0)
        close(*end);
    *end = -1;
}

}  // namespace

ToolRun::ToolRun(const std::string &program, const std::vector<std::string> &arguments,
                 const Settings &settings)
{
    std::vector<char *> list = {const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
        list.push_back(const_cast<char *>(argument.c_str()));
    list.push_back(nullptr);
    if (settings.onTerminal)
        StartOnTerminal(program, list, settings);
    else
        StartOnPipes(program, list, settings);
}

ToolRun::~ToolRun()
{
    CloseEnd(&_outputEnd);
    CloseEnd(&_errorEnd);
    if (_process > 0) {
        kill(_process, SIGKILL);
        waitpid(_process, nullptr, 0);
    }
}

void ToolRun::StartOnPipes(const std::string &program, std::vector<char *> &arguments,
                           const Settings &settings)
{
    int input[2];
    int output[2];
    int errors[2];
    Require(pipe(input) == 0 && pipe(output) == 0 && pipe(errors) == 0, "pipe");
    _process = fork();
    Require(_process >= 0, "fork");
    if (_process == 0) {
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        dup2(errors[1], STDERR_FILENO);
        for (const int end : {input[0], input[1], output[0], output[1], errors[0], errors[1]})
            close(end);
        Become(program, arguments.data(), settings);
    }
    close(input[0]);
    close(output[1]);
    close(errors[1]);
    _outputEnd = output[0];
    _errorEnd = errors[0];
    // A few bytes, which the pipe always takes.
    const ssize_t written = write(input[1], settings.input.data(), settings.input.size());
    close(input[1]);
    Require(written == static_cast<ssize_t>(settings.input.size()), "write");
}

void ToolRun::StartOnTerminal(const std::string &program, std::vector<char *> &arguments,
                              const Settings &settings)
{
    _outputEnd = posix_openpt(O_RDWR | O_NOCTTY);
    Require(_outputEnd >= 0 && grantpt(_outputEnd) == 0 && unlockpt(_outputEnd) == 0, "terminal");
    const int terminal = open(ptsname(_outputEnd), O_RDWR | O_NOCTTY);
    Require(terminal >= 0, "terminal");
    winsize size = {};
    size.ws_col = settings.columns;
    size.ws_row = 24;
    ioctl(terminal, TIOCSWINSZ, &size);
    _process = fork();
    Require(_process >= 0, "fork");
    if (_process == 0) {
        setsid();
        ioctl(terminal, TIOCSCTTY, 0);
        for (const int end : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            dup2(terminal, end);
        close(terminal);
        close(_outputEnd);
        Become(program, arguments.data(), settings);
    }
    close(terminal);
}

void ToolRun::AwaitText(const std::string &text)
{
    Await(text, _errorEnd >= 0 ? _errors : _output);
}

void ToolRun::Await(const std::string &text, const std::string &where)
{
    while (where.find(text) == std::string::npos) {
        if (!Take())
            FailLate("the program ended without printing \"" + text + "\"");
    }
}

void ToolRun::Type(const std::string &text)
{
    Require(write(_outputEnd, text.data(), text.size()) == static_cast<ssize_t>(text.size()),
            "write");
}

void ToolRun::Send(int signal)
{
    kill(_process, signal);
}

bool ToolRun::Echoes() const
{
    termios state = {};
    Require(tcgetattr(_outputEnd, &state) == 0, "terminal");
    return (state.c_lflag & ECHO) != 0;
}

int ToolRun::Wait()
{
    while (Take()) {
    }
    int status = 0;
    Require(waitpid(_process, &status, 0) == _process, "waitpid");
    _process = -1;
    _dumpedCore = WIFSIGNALED(status) && WCOREDUMP(status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool ToolRun::Take()
{
    pollfd ends[] = {{_outputEnd, POLLIN, 0}, {_errorEnd, POLLIN, 0}};
    if (_outputEnd < 0 && _errorEnd < 0)
        return false;
    const int ready = poll(ends, 2, kDeadlineMilliseconds);
    if (ready == 0)
        FailLate("the program neither ended nor printed in time");
    if (ends[0].revents != 0 && !ReadSome(_outputEnd, &_output))
        CloseEnd(&_outputEnd);
    if (ends[1].revents != 0 && !ReadSome(_errorEnd, &_errors))
        CloseEnd(&_errorEnd);
    return true;
}

void ToolRun::FailLate(const std::string &what)
{
    throw std::runtime_error(what + "; output: " + _output + "; errors: " + _errors);
}

}  // namespace vx
