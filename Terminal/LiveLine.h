// One line of a terminal that is drawn again and again.
//
// Ownership: borrows the stream. Threads: one at a time.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace vx {

class LiveLine {
public:
    explicit LiveLine(FILE *stream);
    // Clears what was drawn.
    ~LiveLine();
    LiveLine(const LiveLine &) = delete;
    LiveLine &operator=(const LiveLine &) = delete;

    // Whether the stream is a terminal; nothing is to be drawn elsewhere.
    bool IsLive() const { return _isLive; }
    // Clipped to the terminal's width: the front of end, a shown text, goes first.
    void Draw(const std::string &text, const std::string &end = "");
    void Clear();

private:
    size_t TerminalColumns() const;

    FILE *const _stream;
    const bool _isLive;
    bool _isDrawn = false;
};

}  // namespace vx
