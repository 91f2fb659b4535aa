// volume-mount: shows the files of a volume in a folder.
#include "Background.h"
#include "EndingSignal.h"
#include "ExitStatus.h"
#include "MountOptions.h"
#include "MountPoint.h"
#include "MountSession.h"
#include "MountUsage.h"
#include "MountedVolume.h"
#include "ObservedVolume.h"
#include "OpeningInterruption.h"
#include "SecretReader.h"
#include "StandardDescriptors.h"
#include "TerminalText.h"
#include "ThreadChecks.h"
#include "VolumeOpening.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace {

using vx::MountOptions;

int FailUsage(const std::string &error)
{
    fprintf(stderr, "volume-mount: %s\n%s", vx::TerminalText(error).c_str(), vx::kMountUsage);
    return vx::kExitUsage;
}

int Fail(int status, const std::string &error)
{
    fprintf(stderr, "volume-mount: %s\n", error.c_str());
    return status;
}

int Print(const char *text)
{
    fputs(text, stdout);
    return vx::kExitSuccess;
}

// Opens the volume and overwrites the secret. Returns the exit status.
int Open(const vx::LoadedLibrary &library, MountOptions *options, IVolume **volume,
         std::string *error)
{
    vx::TypedSecret secret;
    const int status = vx::ReadSecret(options->unlocking, options->volume, &secret, error);
    vx::WipeText(&options->unlocking.secret);
    if (status != vx::kExitSuccess)
        return status;
    const vx::VolumeOpening opening =
        vx::OpenVolume(library, options->volume, options->unlocking.kind, secret.Text());
    if (vx::OpeningInterruption::Signal() != 0)
        vx::EndBySignal(vx::OpeningInterruption::Signal());
    for (const std::string &warning : opening.warnings)
        fprintf(stderr, "volume-mount: warning: %s\n", warning.c_str());
    *volume = opening.volume;
    *error = opening.error;
    return opening.volume == nullptr ? vx::kExitNotOpened : vx::kExitSuccess;
}

VolumeFileSystemReport FileSystemOf(const vx::LoadedLibrary &library, IVolume *volume)
{
    VolumeFileSystemReport report;
    if (const auto describe = library.DescribeFileSystem())
        describe(volume, &report);
    return report;
}

// In a plain folder another file may take the place of one meanwhile.
size_t ReadsOfFile(const std::string &volume)
{
    struct stat found = {};
    const bool isFolder = stat(volume.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
    return isFolder ? 1 : vx::MountedFile::kMostReads;
}

int Serve(const vx::LoadedLibrary &library, IVolume *opened, const MountOptions &options,
          vx::Background *background)
{
    const vx::VolumeReports reports(library.Handle(), *opened);
    vx::MountedVolume volume(*opened, reports, ReadsOfFile(options.volume));
    std::string error;
    if (vx::MountedVolume::Folder root; volume.OpenFolder(vx::NodeTable::kRoot, &root) != 0)
        return Fail(vx::kExitNotOpened, "cannot open " + vx::TerminalText(options.volume) +
                                            ": its root folder cannot be listed");
    vx::FuseTree tree(volume, FileSystemOf(library, opened));
    vx::MountSession session(tree);
    if (!session.Mount({options.folder, options.volume, options.allowOther}, &error))
        return Fail(vx::kExitNotMounted, error);
    background->Detach();
    if (!session.Serve())
        return Fail(vx::kExitNotMounted, "the connection to the kernel failed");
    return vx::kExitSuccess;
}

int Run(MountOptions *options)
{
    std::string error;
    if (!vx::CanMount(&error) || !vx::IsUsableMountPoint(options->volume, &options->folder, &error))
        return Fail(vx::kExitUsage, error);
    vx::Background background;
    if (options->background && !background.Begin())
        return Fail(vx::kExitNotMounted,
                    std::string("cannot go into the background: ") + strerror(errno));
    const auto library = vx::LoadedLibrary::BesideProgram(&error);
    if (!library)
        return Fail(vx::kExitNotOpened, error);
    IVolume *volume = nullptr;
    const int status = Open(*library, options, &volume, &error);
    if (status != vx::kExitSuccess)
        return Fail(status, error);
    return Serve(*library, volume, *options, &background);
}

}  // namespace

int main(int argc, char **argv)
{
    vx::CheckThreads();
    if (!vx::HoldStandardDescriptors())
        return vx::kExitNotMounted;
    std::string error;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    auto options = vx::ParseMountOptions(arguments, &error);
    vx::WipeTexts(&arguments);
    if (!options)
        return FailUsage(error);
    options->unlocking.HideIn(argv + 1);
    if (options->action == MountOptions::Action::kHelp)
        return Print(vx::kMountHelp);
    if (options->action == MountOptions::Action::kVersion)
        return Print(vx::kMountVersion);
    return Run(&*options);
}
