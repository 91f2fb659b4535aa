#include "Unlocking.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr char kDescriptorStart[] = "fd:";
constexpr size_t kDescriptorStartSize = sizeof(kDescriptorStart) - 1;

constexpr const char *kPathKinds[] = {"startup-key", "recovery-file", "key-ring", "vmk", "fvek"};

bool IsPathKind(const std::string &kind)
{
    const auto *end = std::end(kPathKinds);
    return std::find(std::begin(kPathKinds), end, kind) != end;
}

// The text may be a secret, so it is not copied.
bool IsThere(const char *path)
{
    struct stat found;
    return stat(path, &found) == 0;
}

// Nothing but digits; Unlocking::kNoDescriptor for everything else.
int DescriptorOf(const char *number)
{
    if (*number == 0 || number[strspn(number, "0123456789")] != 0)
        return Unlocking::kNoDescriptor;
    errno = 0;
    const unsigned long long value = strtoull(number, nullptr, 10);
    return errno != 0 || value > INT_MAX ? Unlocking::kNoDescriptor : static_cast<int>(value);
}

}  // namespace

bool Unlocking::Take(const char *word, std::string *error)
{
    if (strncmp(word, kDescriptorStart, kDescriptorStartSize) == 0)
        return TakeDescriptor(word + kDescriptorStartSize, error);
    if (*word == '@') {
        secretFile = word + 1;
        if (secretFile.empty())
            *error = "\"@\" needs the path of the file that has the secret";
        return !secretFile.empty();
    }
    asksSecret = strcmp(word, "-") == 0;
    if (!asksSecret)
        secret = word;
    return true;
}

// What the program itself has opened is closed in programs that it starts.
bool Unlocking::TakeDescriptor(const char *number, std::string *error)
{
    const int given = DescriptorOf(number);
    error->clear();
    if (given == kNoDescriptor)
        *error =
            "\"fd:\" needs the number of a descriptor (a secret that begins with \"fd:\" can be "
            "typed after \"-\", or given by @FILE)";
    else if (given == STDOUT_FILENO || given == STDERR_FILENO)
        *error = "no secret is read from descriptors 1 and 2, to which messages are written";
    else if (fcntl(given, F_GETFD) != 0)
        *error = "descriptor " + std::to_string(given) + " is not open";
    else if ((fcntl(given, F_GETFL) & O_ACCMODE) == O_WRONLY)
        *error = "descriptor " + std::to_string(given) + " cannot be read";
    if (!error->empty())
        return false;
    fcntl(given, F_SETFD, FD_CLOEXEC);
    descriptor = given;
    return true;
}

void Unlocking::HideIn(char **words) const
{
    if (secret.empty() || (IsPathKind(kind) && IsThere(secret.c_str())))
        return;
    for (char **word = words; *word != nullptr; ++word) {
        if (secret == *word)
            memset(*word, '*', strlen(*word));
    }
}

std::vector<std::string> Unlocking::KeyPaths(const char *givenSecret) const
{
    std::vector<std::string> paths;
    if (IsThere(secretFile.c_str()))
        paths.push_back(secretFile);
    if (IsPathKind(kind) && IsThere(givenSecret))
        paths.emplace_back(givenSecret);
    return paths;
}

}  // namespace vx
