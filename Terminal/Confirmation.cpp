#include "Confirmation.h"

#include "EventPipe.h"
#include "InputBytes.h"
#include "SignalWatch.h"
#include "ThreadChecks.h"

#include <cstddef>
#include <cstdio>
#include <strings.h>
#include <unistd.h>

namespace vx {
namespace {

// Longer than any yes; what exceeds it is read and dropped.
constexpr size_t kMostKept = 16;

std::string ReadLine(InputBytes *bytes)
{
    std::string line;
    char byte = 0;
    while (bytes->Read(&byte) && byte != '\n') {
        if (line.size() < kMostKept)
            line += byte;
    }
    return line;
}

std::string WithoutBlanks(const std::string &line)
{
    const size_t first = line.find_first_not_of(" \t\r");
    const size_t last = line.find_last_not_of(" \t\r");
    return first == std::string::npos ? "" : line.substr(first, last - first + 1);
}

}  // namespace

bool CanConfirm()
{
    return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

Confirmation Confirm(const std::string &question, int *signal)
{
    AssertMainThread();
    EventPipe events;
    *signal = 0;
    if (!events.Error().empty())
        return Confirmation::kNo;
    const SignalWatch watch(events);
    InputBytes bytes(STDIN_FILENO, events);
    fputs(question.c_str(), stderr);
    fflush(stderr);
    const std::string answer = WithoutBlanks(ReadLine(&bytes));
    *signal = bytes.Signal();
    if (*signal != 0)
        return Confirmation::kInterrupted;
    const bool isYes =
        strcasecmp(answer.c_str(), "y") == 0 || strcasecmp(answer.c_str(), "yes") == 0;
    return isYes ? Confirmation::kYes : Confirmation::kNo;
}

}  // namespace vx
