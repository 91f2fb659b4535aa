#include "BackgroundWork.h"

#import <Foundation/Foundation.h>

#include "StartThread.h"
#include "ThreadChecks.h"

#include <algorithm>
#include <dispatch/dispatch.h>
#include <thread>

namespace vx {

struct BackgroundWork::State {
    std::atomic<bool> cancel{false};
    BackgroundWork *owner = nullptr;  // null once that is destroyed; for the main thread
};

struct BackgroundWork::Piece {
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
    for (const auto &piece : _pieces) {
        piece->state->cancel = true;
        piece->state->owner = nullptr;
    }
    for (const auto &piece : _pieces)
        piece->thread.join();
}

bool BackgroundWork::Start(Work work)
{
    AssertMainThread();
    Cancel();
    auto piece = std::make_unique<Piece>();
    piece->state->owner = this;
    piece->thread = StartThread([state = piece->state, work = std::move(work)] {
        NSAutoreleasePool *pool = [NSAutoreleasePool new];
        Run(work, state);
        [pool release];
    });
    if (!piece->thread.joinable())
        return false;
    _pieces.push_back(std::move(piece));
    return true;
}

void BackgroundWork::Run(const Work &work, const std::shared_ptr<State> &state)
{
    CallOnMain([state, done = work(state->cancel)] {
        if (state->owner != nullptr)
            state->owner->Reap(*state);
        if (!state->cancel)
            done();
    });
}

void BackgroundWork::Cancel()
{
    AssertMainThread();
    if (!_pieces.empty())
        _pieces.back()->state->cancel = true;
}

// Its thread has handed over the result and is about to end.
void BackgroundWork::Reap(const State &ended)
{
    const auto piece = std::find_if(_pieces.begin(), _pieces.end(), [&](const auto &candidate) {
        return candidate->state.get() == &ended;
    });
    (*piece)->thread.join();
    _pieces.erase(piece);
}

}  // namespace vx
