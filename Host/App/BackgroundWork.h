// Work that may take long, on a thread of its own; what it found is handed to the main thread.
//
// A newer piece of work cancels the older one, whose result is then never handed over. Whoever has
// work that a cancel does not end asks first whether it is running.
// Ownership: the destructor cancels and waits for what still runs; what still runs when the process
// ends, ends with it. Threads: main thread, except for the work.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace vx {

// Runs it soon on the main thread, in modal sessions too. Any thread.
void CallOnMain(std::function<void()> call);

class BackgroundWork {
public:
    // What the work returns runs on the main thread.
    using Work = std::function<std::function<void()>(const std::atomic<bool> &cancel)>;

    BackgroundWork();
    ~BackgroundWork();
    BackgroundWork(const BackgroundWork &) = delete;
    BackgroundWork &operator=(const BackgroundWork &) = delete;

    // False: no thread is to be had.
    bool Start(Work work);
    void Cancel();
    // Some piece of work, cancelled or not, has not ended.
    bool IsRunning() const { return !_pieces.empty(); }

private:
    struct State;
    struct Piece;
    static void Run(const Work &work, const std::shared_ptr<State> &state);
    void Reap(const State &ended);

    std::vector<std::unique_ptr<Piece>> _pieces;  // the newest last
};

}  // namespace vx
