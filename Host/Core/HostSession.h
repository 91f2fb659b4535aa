// One run of the explorer, seen from the host: sets the link up, starts the explorer, waits for its
// end, and removes everything.
//
// Ownership: borrows the events, which a SignalWatch fills. Threads: the main thread.
#pragma once

#include "EventPipe.h"
#include "ExplorerProcess.h"
#include "FifoPair.h"
#include "OpeningTexts.h"
#include "QuitNoticeSink.h"
#include "libPipeWrapper.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace vx {

class HostSession {
public:
    // paths: the FIFOs as the host uses them.
    HostSession(EventPipe &events, const LinkPaths &paths);

    // Runs the explorer at `program` and returns the exit status. Reports in one line on standard
    // output how it ended, and errors on standard error. sendCode: of a message to the explorer.
    // onStarted: called once the explorer has started, or could not; the texts are not used after
    // that.
    int Run(const std::string &program, const OpeningTexts &texts, std::optional<uint32_t> sendCode,
            const std::function<void()> &onStarted);

private:
    bool CheckVolume(const std::string &program, const OpeningTexts &texts);
    int RunLinked(const std::string &program, const OpeningTexts &texts,
                  std::optional<uint32_t> sendCode, const std::function<void()> &onStarted);
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
