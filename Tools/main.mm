// volume-export: lists and exports the files of a volume.
#import <Foundation/Foundation.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Destination.h"
#include "ExitStatus.h"
#import "ExportCommand.h"
#import "ListCommand.h"
#include "Options.h"
#include "SecretPrompt.h"
#include "StandardDescriptors.h"
#include "TerminalText.h"
#include "Unicode.h"
#include "UsageText.h"
#import "VolumeSession.h"

namespace {

using vx::Options;

int FailUsage(const std::string &error)
{
    fprintf(stderr, "volume-export: %s\n%s", vx::TerminalText(error).c_str(), vx::kUsageText);
    return vx::kExitUsage;
}

int Fail(int status, const std::string &error)
{
    fprintf(stderr, "volume-export: %s\n", error.c_str());
    return status;
}

int Print(const char *text)
{
    fputs(text, stdout);
    return vx::kExitSuccess;
}

// What can be known to fail before the volume is opened fails before a secret is asked for.
bool IsDestinationUsable(const Options &options, std::string *error)
{
    if (options.action != Options::Action::kExport)
        return true;
    const vx::Destination destination(options.destination);
    if (destination.IsFolder(options.volume)) {
        *error = "the destination is the volume itself";
        return false;
    }
    return destination.IsUsable(error);
}

// Foundation cannot start in a process with other arguments.
bool AreAllUtf8(const std::vector<std::string> &arguments)
{
    return std::all_of(arguments.begin(), arguments.end(), vx::IsUtf8);
}

bool AskForSecret(Options *options)
{
    const std::string question = "Secret (" + vx::TerminalText(options->unlockKind) + ") for " +
                                 vx::TerminalText(options->volume) + ": ";
    return !options->asksSecret || vx::AskSecret(question, &options->secret);
}

int Run(Options options)
{
    std::string error;
    if (!IsDestinationUsable(options, &error))
        return Fail(vx::kExitUsage, error);
    if (!AskForSecret(&options))
        return Fail(vx::kExitUsage, "no secret was given");
    vx::VolumeSession session;
    const bool opened = session.Open(options.volume, options.unlockKind, options.secret, &error);
    vx::WipeSecret(&options.secret);
    if (!opened)
        return Fail(vx::kExitNotOpened, error);
    for (const std::string &warning : session.Warnings())
        fprintf(stderr, "volume-export: warning: %s\n", warning.c_str());
    if (options.action == Options::Action::kList)
        return vx::ListCommand(session, options).Run();
    return vx::ExportCommand(session, options, vx::Destination(options.destination)).Run();
}

}  // namespace

int main(int argc, char **argv)
{
    if (!vx::HoldStandardDescriptors())
        return vx::kExitIncomplete;
    std::string error;
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!AreAllUtf8(arguments))
        return FailUsage("an argument is not valid UTF-8");
    const auto options = vx::ParseOptions(arguments, &error);
    if (!options)
        return FailUsage(error);
    if (options->action == Options::Action::kHelp)
        return Print(vx::kHelpText);
    if (options->action == Options::Action::kVersion)
        return Print(vx::kVersionText);
    @autoreleasepool {
        return Run(*options);
    }
}
