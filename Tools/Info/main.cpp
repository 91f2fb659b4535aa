// volume-info: what is on a disk or an image.
#include "ExitStatus.h"
#include "InfoCommand.h"
#include "InfoOptions.h"
#include "LoadedLibrary.h"
#include "StandardDescriptors.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "TypedSecret.h"
#include "UsageText.h"

#include <cstdio>
#include <string>
#include <vector>

namespace {

int Fail(int status, const std::string &error, const char *more = "")
{
    fprintf(stderr, "volume-info: %s\n%s", error.c_str(), more);
    return status;
}

int Run(vx::InfoOptions &options)
{
    std::string error;
    const auto library = vx::LoadedLibrary::BesideProgram(&error);
    if (!library)
        return Fail(vx::kExitNotOpened, error);
    return vx::InfoCommand(*library, options).Run();
}

}  // namespace

int main(int argc, char **argv)
{
    vx::CheckThreads();
    if (!vx::HoldStandardDescriptors())
        return vx::kExitIncomplete;
    std::string error;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    auto options = vx::ParseInfoOptions(arguments, &error);
    vx::WipeTexts(&arguments);
    if (!options)
        return Fail(vx::kExitUsage, vx::TerminalText(error), vx::kUsageText);
    options->unlocking.HideIn(argv + 1);
    if (options->action == vx::InfoOptions::Action::kHelp)
        return fputs(vx::kHelpText, stdout) < 0;
    if (options->action == vx::InfoOptions::Action::kVersion)
        return fputs(vx::kVersionText, stdout) < 0;
    return Run(*options);
}
