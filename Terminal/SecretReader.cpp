#include "SecretReader.h"

#include "EndingSignal.h"
#include "EventPipe.h"
#include "ExitStatus.h"
#include "SignalWatch.h"
#include "ThreadChecks.h"
#include "UniqueFd.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

// A FIFO without a writer is waited for when it is read, which a signal can interrupt.
constexpr int kReading = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
// That of UTF-8, with which editors of Windows begin a text.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Whatever has one line to give. On an error errno says why there is none.
UniqueFd OpenLine(const std::string &path)
{
    UniqueFd file(open(path.c_str(), kReading));
    struct stat found;
    if (!file || fstat(file.Get(), &found) != 0)
        return UniqueFd();
    if (S_ISREG(found.st_mode) || S_ISFIFO(found.st_mode) || S_ISCHR(found.st_mode))
        return file;
    errno = S_ISDIR(found.st_mode) ? EISDIR : EINVAL;
    return UniqueFd();
}

}  // namespace

SecretReader::Answer SecretReader::Read(const Unlocking &unlocking, const std::string &volume,
                                        TypedSecret *secret)
{
    AssertMainThread();
    secret->Wipe();
    const std::string question = SecretQuestion(unlocking.kind, volume);
    if (!unlocking.secretFile.empty())
        return ReadFile(unlocking.secretFile, question, secret);
    if (!unlocking.asksSecret && unlocking.descriptor == Unlocking::kNoDescriptor)
        return Copy(unlocking.secret, secret);
    const int input = unlocking.asksSecret ? _asking : unlocking.descriptor;
    const UniqueFd closed(unlocking.asksSecret || input == STDIN_FILENO ? -1 : input);
    SecretPrompt prompt(input, _events);
    return ReadFrom(&prompt, question, secret);
}

// One that is empty may be what the user means.
SecretReader::Answer SecretReader::Copy(const std::string &word, TypedSecret *secret)
{
    for (const char byte : word) {
        if (!secret->Append(byte))
            return secret->Wipe(), Refuse(Answer::kTooLong, "");
    }
    return Answer::kGiven;
}

SecretReader::Answer SecretReader::ReadFile(const std::string &path, const std::string &question,
                                            TypedSecret *secret)
{
    const UniqueFd file = OpenLine(path);
    if (!file)
        return Refuse(Answer::kUnreadable,
                      std::string("the file of the secret, named after \"@\", cannot be read: ") +
                          strerror(errno) +
                          " (a secret that begins with \"@\" can be typed after \"-\", or given by "
                          "fd:N)");
    SecretPrompt prompt(file.Get(), _events);
    const Answer answer = ReadFrom(&prompt, question, secret);
    secret->RemoveFirst(kByteOrderMark);
    return answer == Answer::kGiven && secret->IsEmpty() ? Refuse(Answer::kNone, "") : answer;
}

SecretReader::Answer SecretReader::ReadFrom(SecretPrompt *prompt, const std::string &question,
                                            TypedSecret *secret)
{
    const Answer answer = prompt->Ask(question, secret);
    _signal = prompt->InterruptingSignal();
    return answer == Answer::kGiven ? answer : Refuse(answer, "");
}

// Without an error of its own the answer has one.
SecretReader::Answer SecretReader::Refuse(Answer answer, const std::string &error)
{
    _error = error.empty() ? SecretPrompt::RefusalText(answer) : error;
    return answer;
}

int ReadSecret(const Unlocking &unlocking, const std::string &volume, TypedSecret *secret,
               std::string *error)
{
    AssertMainThread();
    EventPipe events;
    if (!events.Error().empty()) {
        secret->Wipe();
        *error = events.Error();
        return kExitNotOpened;
    }
    SecretReader reader(STDIN_FILENO, events);
    const SignalWatch watch(events);
    const SecretReader::Answer answer = reader.Read(unlocking, volume, secret);
    if (answer == SecretReader::Answer::kInterrupted)
        EndBySignal(reader.InterruptingSignal());
    *error = reader.Error();
    return answer == SecretReader::Answer::kGiven ? kExitSuccess : kExitUsage;
}

}  // namespace vx
