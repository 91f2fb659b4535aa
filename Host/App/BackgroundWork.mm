#include "BackgroundWork.h"

#import <Foundation/Foundation.h>

#include "ThreadChecks.h"

#include <algorithm>
#include <dispatch/dispatch.h>
#include <system_error>
#include <thread>

namespace vx {

struct BackgroundWork::Piece {
    struct State {
        std::atomic<bool> cancel{false};
        std::atomic<bool> hasEnded{false};
    };

    // The result outlives the piece.
    std::shared_ptr<State> state = std::make_shared<State>();
    std::thread thread;
};

void CallOnMain(std::function<void()> call)
{
    // A thread that is not the library's has no pool of its own.
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    auto *kept = new std::function<void()>(std::move(call));
    dispatch_async(dispatch_get_main_queue(), ^{
        (*kept)();
        delete kept;
    });
    [pool release];
}

BackgroundWork::BackgroundWork() = default;

BackgroundWork::~BackgroundWork()
{
    AssertMainThread();
    for (const auto &piece : _pieces)
        piece->state->cancel = true;
    for (const auto &piece : _pieces)
        piece->thread.join();
}

bool BackgroundWork::Start(Work work)
{
    AssertMainThread();
    Cancel();
    Reap();
    auto piece = std::make_unique<Piece>();
    const auto run = [state = piece->state, work = std::move(work)] {
        NSAutoreleasePool *pool = [NSAutoreleasePool new];
        CallOnMain([state, done = work(state->cancel)] {
            if (!state->cancel)
                done();
        });
        [pool release];
        state->hasEnded = true;
    };
    try {
        piece->thread = std::thread(run);
    } catch (const std::system_error &) {
        return false;
    }
    _pieces.push_back(std::move(piece));
    return true;
}

void BackgroundWork::Cancel()
{
    AssertMainThread();
    if (!_pieces.empty())
        _pieces.back()->state->cancel = true;
}

void BackgroundWork::Reap()
{
    const auto hasEnded = [](const std::unique_ptr<Piece> &piece) {
        if (!piece->state->hasEnded)
            return false;
        piece->thread.join();
        return true;
    };
    _pieces.erase(std::remove_if(_pieces.begin(), _pieces.end(), hasEnded), _pieces.end());
}

}  // namespace vx
