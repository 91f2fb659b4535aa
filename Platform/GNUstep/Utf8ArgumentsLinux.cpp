// Arguments and environment as GNUstep can take them.
//
// The library reads both from the system while it is loaded, and ends the program, without a word
// that helps, where one is not UTF-8: the path of a file from an older system, or the name of the
// current folder in PWD. So before any library is initialised the bytes at fault become "?"; the
// program's own arguments are put back before main(). The environment stays as it is then.
//
// A program that links this does so. Threads: none yet. Errors: without memory nothing is replaced,
// and the library decides.
// Source of the order: System V ABI, chapter 5, "Initialization and Termination Functions".
#include "CodePoints.h"

#include <cstdlib>
#include <cstring>

namespace vx {
namespace {

constexpr char kReplacement = '?';

struct ReplacedArgument {
    ReplacedArgument *next;
    char *place;
    char *bytes;
};

// Volatile: a compiler takes it that nothing runs before a constructor.
ReplacedArgument *volatile replaced = nullptr;

bool IsUtf8(std::string_view text)
{
    while (!text.empty()) {
        if (TakeCharacter(&text) == kInvalidCharacter)
            return false;
    }
    return true;
}

void ReplaceInvalid(char *text)
{
    for (std::string_view left = text; !left.empty();) {
        char *const place = text + strlen(text) - left.size();
        if (TakeCharacter(&left) == kInvalidCharacter)
            *place = kReplacement;
    }
}

void ReplaceArgument(char *argument)
{
    auto *kept = static_cast<ReplacedArgument *>(malloc(sizeof(ReplacedArgument)));
    char *bytes = strdup(argument);
    if (kept == nullptr || bytes == nullptr) {
        free(kept);
        free(bytes);
        return;
    }
    *kept = {replaced, argument, bytes};
    replaced = kept;
    ReplaceInvalid(argument);
}

void ReplaceAll(int count, char **arguments, char **environment)
{
    for (int i = 0; i < count; ++i) {
        if (!IsUtf8(arguments[i]))
            ReplaceArgument(arguments[i]);
    }
    for (char **variable = environment; *variable != nullptr; ++variable)
        ReplaceInvalid(*variable);
}

// After the libraries, before main().
__attribute__((constructor)) void PutBack()
{
    while (replaced != nullptr) {
        ReplacedArgument *const last = replaced;
        memcpy(last->place, last->bytes, strlen(last->bytes));
        replaced = last->next;
        free(last->bytes);
        free(last);
    }
}

__attribute__((section(".preinit_array"),
               used)) void (*const beforeLibraries)(int, char **, char **) = ReplaceAll;

}  // namespace
}  // namespace vx
