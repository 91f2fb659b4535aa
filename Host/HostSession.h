// One run of the explorer, seen from the host: the link is set up, the explorer started, its
// end awaited, everything removed.
//
// Ownership: borrows the events, which a SignalWatch fills. Threads: the main thread.
#pragma once

#include "CommandLine.h"
#include "EventPipe.h"
#include "ExplorerProcess.h"
#include "FifoPair.h"
#include "QuitNoticeSink.h"
#include "libPipeWrapper.h"

#include <memory>

namespace vx {

enum HostStatus {
    kNoticeCame = 0,
    kEndedWithoutNotice = 1,
    kWrongUse = 2,
    kLinkTaken = 3,
    kNotStarted = 4,
    kEndedByHost = 5,
    kNotSent = 6,
    kInterruptedBase = 128,  // plus the signal's number
};

class HostSession {
public:
    // paths: the FIFOs as the host uses them.
    HostSession(EventPipe &events, const LinkPaths &paths);

    // Runs the explorer at `program` and returns the exit status. Reports in one line on
    // standard output which end came, and errors on standard error.
    int Run(const std::string &program, const HostOptions &options);

private:
    bool CheckVolume(const std::string &program, const HostOptions &options);
    int RunLinked(const std::string &program, const HostOptions &options);
    bool Send(uint32_t code);
    int AwaitEnd();
    int FinishAfterNotice();
    int FinishInterrupted();
    void EndExplorer();
    template <typename Condition>
    bool Await(Condition condition, std::optional<Deadline> deadline);

    EventPipe &_events;
    const LinkPaths _paths;
    QuitNoticeSink _sink;
    std::unique_ptr<ILibPipeServer> _server;
    ExplorerProcess _explorer;
    bool _noticed = false;
    int _interruptedBy = 0;  // a signal's number
};

}  // namespace vx
