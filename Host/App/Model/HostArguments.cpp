#include "HostArguments.h"

#define VX_USAGE "Usage: volume-host-window [IMAGE]\n"

namespace vx {
namespace {

bool BeginsWith(const std::string &word, const char *beginning)
{
    return word.rfind(beginning, 0) == 0;
}

// Those of the system itself, which stand alone.
bool IsOfSystem(const std::string &word)
{
    return BeginsWith(word, "--GNU-") || BeginsWith(word, "-psn_");
}

bool IsSetting(const std::string &word)
{
    return word.size() > 1 && word[0] == '-' && word[1] != '-';
}

void TakeImage(const std::string &word, HostArguments *arguments)
{
    if (word.empty())
        return;
    if (!arguments->image.empty())
        arguments->error = "there is one argument too many: " + word;
    arguments->image = word;
}

}  // namespace

HostArguments ParseHostArguments(const std::vector<std::string> &words)
{
    HostArguments arguments;
    bool areImages = false;
    for (size_t i = 0; i < words.size() && arguments.error.empty(); ++i) {
        const std::string &word = words[i];
        if (areImages || !BeginsWith(word, "-"))
            TakeImage(word, &arguments);
        else if (word == "--")
            areImages = true;
        else if (word == "--help" || word == "-h" || word == "--version") {
            (word == "--version" ? arguments.version : arguments.help) = true;
            break;
        } else if (IsOfSystem(word))
            continue;
        else if (IsSetting(word))
            ++i;
        else
            arguments.error = "unknown option " + word;
    }
    return arguments;
}

const char kHostUsage[] = VX_USAGE "Try \"volume-host-window --help\" for more.\n";

const char kHostHelp[] = VX_USAGE R"(
Shows a window with the disks of this machine, asks for what unlocks the chosen one, and
shows its files in the volume explorer. Nothing is ever written to a disk or an image.

  IMAGE                 choose this disk image or device at the start
  --                    all that follows is IMAGE, even if it begins with "-"
  --help, --version

Exit status
  0    it was quit, or ended by a signal
  1    it could not be started, or a second signal ended it at once
  2    wrong use
)";

const char kHostVersion[] = "volume-host-window " VX_VERSION "\n";

}  // namespace vx
