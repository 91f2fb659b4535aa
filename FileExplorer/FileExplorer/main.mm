// The process entry. The host application starts the explorer with exactly four arguments:
// three for the volume library and one that only has to be there. Nothing else is looked at
// here, and anything else ends the process at once, silently.
#import <AppKit/AppKit.h>

#include "CPipeFileExplorerClientWrapper.h"
#include "FileSizeLimit.h"
#include "StandardDescriptors.h"

#include <fcntl.h>

namespace {

constexpr int kArgumentCount = 5;  // the program's path included

constexpr char kConnectorName[] = "FileExplorerClient";
constexpr char kReadPipe[] = "/tmp/z5_btl_3";   // host to explorer
constexpr char kWritePipe[] = "/tmp/z5_btl_4";  // explorer to host
constexpr int kReadFlags = O_CREAT | O_RDONLY | O_NONBLOCK;
constexpr int kWriteFlags = O_CREAT | O_WRONLY | O_NONBLOCK;

}  // namespace

int main(int argc, const char *argv[])
{
    if (argc != kArgumentCount || !vx::HoldStandardDescriptors())
        return 0;
    vx::FailWritesBeyondFileSizeLimit();
    // The explorer goes on whether or not the link could be set up.
    CPipeFileExplorerClientWrapper::getInstance()->initClient(kConnectorName, kReadPipe, kReadFlags,
                                                              kWritePipe, kWriteFlags);
    return NSApplicationMain(kArgumentCount, argv);
}
