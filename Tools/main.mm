// volume-export: lists and exports the files of a volume.
#import <Foundation/Foundation.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "Destination.h"
#include "EndingSignal.h"
#include "ExitStatus.h"
#include "ExportCommand.h"
#include "ExportProof.h"
#import "ListCommand.h"
#include "OpeningInterruption.h"
#include "Options.h"
#include "RescueMap.h"
#include "SecretReader.h"
#include "StandardDescriptors.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "Unicode.h"
#include "UsageText.h"
#include "VolumeSession.h"

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
    // The file of --raw is looked at together with others that are written (ExportProof).
    if (options.action != Options::Action::kExport || options.IsRaw())
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

// A path that the secret has brought counts as one that the options name. Returns the exit status.
int ReadSecret(Options *options, const vx::ExportProof &proof, vx::TypedSecret *secret,
               std::string *error)
{
    const int status = vx::ReadSecret(options->unlocking, options->volume, secret, error);
    vx::WipeText(&options->unlocking.secret);
    if (status != vx::kExitSuccess)
        return status;
    options->keyPaths = options->unlocking.KeyPaths(secret->Text());
    return proof.MayBegin(error) ? vx::kExitSuccess : vx::kExitUsage;
}

// Opens the volume and overwrites the secret. Returns the exit status.
int Open(Options *options, const vx::ExportProof &proof, vx::VolumeSession *session,
         std::string *error)
{
    vx::TypedSecret secret;
    const int status = ReadSecret(options, proof, &secret, error);
    if (status != vx::kExitSuccess)
        return status;
    const bool isOpen =
        session->Open(options->volume, options->unlocking.kind, secret.Text(), error);
    return isOpen ? vx::kExitSuccess : vx::kExitNotOpened;
}

// What the options say of a damaged disk.
bool ReadDiskOptions(const Options &options, vx::DiskReading *reading, std::string *error)
{
    reading->retries = options.retries.value_or(0);
    reading->slowAfter = options.skipSlow.value_or(0);
    reading->recordsReads = !options.writeMap.empty();
    reading->opensContents = options.IsRaw();
    if (options.map.empty())
        return true;
    auto map = vx::RescueMap::Read(options.map, error);
    if (map)
        reading->unread = std::move(map->unread);
    return map.has_value();
}

int FailToOpen(vx::ExportProof *proof, int status, const std::string &error)
{
    std::string more;
    if (!proof->EndedEarly(error, status, &more))
        Fail(status, more);
    return Fail(status, error);
}

int Run(Options &options)
{
    std::string error;
    vx::DiskReading reading;
    vx::ExportProof proof(options);
    if (!IsDestinationUsable(options, &error) || !ReadDiskOptions(options, &reading, &error) ||
        !proof.MayBegin(&error))
        return Fail(vx::kExitUsage, error);
    vx::VolumeSession session;
    session.SetReading(std::move(reading));
    const int status = Open(&options, proof, &session, &error);
    // With nothing written, and the secret overwritten.
    if (vx::OpeningInterruption::Signal() != 0)
        vx::EndBySignal(vx::OpeningInterruption::Signal());
    if (status != vx::kExitSuccess)
        return FailToOpen(&proof, status, error);
    // An image may have a parent, or keep its data elsewhere, which only the library finds.
    if (!proof.MayBegin(&error))
        return Fail(vx::kExitUsage, error);
    proof.NoteWarnings(session.Warnings());
    for (const std::string &warning : session.Warnings())
        fprintf(stderr, "volume-export: warning: %s\n", warning.c_str());
    if (options.action == Options::Action::kList)
        return vx::ListCommand(session, options).Run();
    return vx::ExportCommand(session, options, vx::Destination(options.destination), proof).Run();
}

}  // namespace

int main(int argc, char **argv)
{
    vx::CheckThreads();
    if (!vx::HoldStandardDescriptors())
        return vx::kExitIncomplete;
    std::string error;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!AreAllUtf8(arguments))
        return FailUsage("an argument is not valid UTF-8");
    auto options = vx::ParseOptions(arguments, &error);
    vx::WipeTexts(&arguments);
    if (!options)
        return FailUsage(error);
    options->unlocking.HideIn(argv + 1);
    if (options->action == Options::Action::kHelp)
        return Print(vx::kHelpText);
    if (options->action == Options::Action::kVersion)
        return Print(vx::kVersionText);
    @autoreleasepool {
        return Run(*options);
    }
}
