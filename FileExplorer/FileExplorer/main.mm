// The process entry. The host application starts the explorer with exactly four arguments:
// three for the volume library and a fourth that is not used. With any other number the process
// ends at once, silently.
#import <AppKit/AppKit.h>

#include "CPipeFileExplorerClientWrapper.h"
#include "FileSizeLimit.h"
#include "FreeDescriptors.h"
#include "LinkFifos.h"
#include "StandardDescriptors.h"
#include "ThreadChecks.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>

namespace {

constexpr int kArgumentCount = 5;  // the program's path included

// With ten it opens its window; an export takes more.
constexpr size_t kLeastDescriptors = 12;

constexpr char kConnectorName[] = "FileExplorerClient";
constexpr int kReadFlags = O_CREAT | O_RDONLY | O_NONBLOCK;
constexpr int kWriteFlags = O_CREAT | O_WRONLY | O_NONBLOCK;

}  // namespace

int main(int argc, const char *argv[])
{
    vx::CheckThreads();
    if (argc != kArgumentCount || !vx::HoldStandardDescriptors())
        return 0;
    if (!vx::AreDescriptorsFree(kLeastDescriptors)) {
        fputs("FileExplorer: too few files can be open at a time; raise the limit (ulimit -n)\n",
              stderr);
        return EXIT_FAILURE;
    }
    vx::FailWritesBeyondFileSizeLimit();
    // The explorer goes on whether or not the link could be set up.
    CPipeFileExplorerClientWrapper::getInstance()->initClient(
        kConnectorName, vx::kHostToExplorer, kReadFlags, vx::kExplorerToHost, kWriteFlags);
    return NSApplicationMain(kArgumentCount, argv);
}
