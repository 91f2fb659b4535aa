// What the user sees while a volume is opened and that takes long: how many secrets of several were
// tried, or how much of a disk was searched.
//
// On a terminal one line is redrawn. Elsewhere one line says what a step will cost, if that is more
// than some seconds, and a search adds a line every five seconds.
// Ownership: borrows the stream. Threads: the one that opens.
#pragma once

#include "LiveLine.h"
#include "ProgressLine.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <optional>

struct VolumeOpeningOptions;
enum class VolumeOpeningStep : uint32_t;

namespace vx {

class OpeningProgress {
public:
    using Clock = std::chrono::steady_clock;

    explicit OpeningProgress(FILE *stream = stderr) : _stream(stream), _line(stream) {}
    ~OpeningProgress() = default;
    OpeningProgress(const OpeningProgress &) = delete;
    OpeningProgress &operator=(const OpeningProgress &) = delete;

    // This must stay as long as the openings with these options.
    void AddTo(VolumeOpeningOptions *options);

    // As VolumeOpeningProgressFunction has it.
    void Show(VolumeOpeningStep step, uint64_t done, uint64_t total, uint32_t seconds,
              Clock::time_point now);

private:
    void NameLimit(uint64_t keys);
    void Begin(VolumeOpeningStep step, uint64_t total, Clock::time_point now);
    void Announce(uint64_t total, uint32_t seconds, Clock::time_point now);
    void DrawCount(uint64_t done, uint64_t total, uint32_t seconds, Clock::time_point now);

    FILE *const _stream;
    LiveLine _line;
    std::optional<ProgressLine> _bytes;  // of a search
    uint32_t _step = 0;                  // 0 before the first one
    bool _isAnnounced = false;
    Clock::time_point _start;
    Clock::time_point _nextDue;
};

}  // namespace vx
