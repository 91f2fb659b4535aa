#include "OpeningWords.h"

#include "OpenFailureText.h"
#include "TerminalText.h"

namespace vx {

std::string OpeningFailure(void *library, const char *verb, const std::string &volume,
                           int32_t status)
{
    return std::string("cannot ") + verb + " " + TerminalText(volume) + ": " +
           TerminalText(OpenFailureText(library, status));
}

std::string NoVolumeFailure(const std::string &volume)
{
    return "cannot open " + TerminalText(volume) +
           ": the volume library returned no volume (status 0)";
}

std::vector<std::string> OpeningWarnings(void *library, const std::string &volume)
{
    std::vector<std::string> warnings;
    for (const std::string &warning : OpenWarnings(library))
        warnings.push_back(TerminalText(volume) + ": " + TerminalText(warning));
    return warnings;
}

}  // namespace vx
