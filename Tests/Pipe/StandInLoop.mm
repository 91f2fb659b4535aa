// In place of the application's loop, so that the process entry and both ends of the link are
// tested as real processes without a window: waits for SIGTERM or for the end of standard input,
// then sends the notice as the application does when it terminates.
#import <AppKit/AppKit.h>

#include "CPipeFileExplorerClientWrapper.h"

#include <cerrno>
#include <signal.h>
#include <sys/select.h>
#include <unistd.h>

namespace {

volatile sig_atomic_t g_asked = 0;

void NoteRequest(int)
{
    g_asked = 1;
}

// Whether standard input has ended; bytes that come before its end are passed over.
bool InputEnded(const fd_set &ready)
{
    char bytes[64];
    return FD_ISSET(STDIN_FILENO, &ready) && read(STDIN_FILENO, bytes, sizeof(bytes)) <= 0;
}

// SIGTERM is let through only while waiting, so that one which comes between two looks at the
// flag is not missed.
void AwaitRequest()
{
    sigset_t term, former;
    sigemptyset(&term);
    sigaddset(&term, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &term, &former);
    struct sigaction action = {};
    action.sa_handler = NoteRequest;
    sigaction(SIGTERM, &action, nullptr);
    while (!g_asked) {
        fd_set input;
        FD_ZERO(&input);
        FD_SET(STDIN_FILENO, &input);
        const int count = pselect(STDIN_FILENO + 1, &input, nullptr, nullptr, nullptr, &former);
        const bool unusable = count == -1 && errno != EINTR;
        if (unusable || (count > 0 && InputEnded(input)))
            break;
    }
}

}  // namespace

int NSApplicationMain(int, const char *[])
{
    AwaitRequest();
    CPipeFileExplorerClientWrapper::getInstance()->SendCmd_async(&kExplorerQuitNotice);
    return 0;
}
