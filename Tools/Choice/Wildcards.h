// Matches texts against a pattern with wildcards: "*" and "?" stand for bytes other than "/", "**"
// for any bytes, "[...]" for one byte of a class; a backslash takes the meaning from what follows.
//
// All ways to match are followed at once, as bits of machine words: a text takes time in
// proportion to its length times that of the pattern over 64, whatever the pattern is.
// Threads: any number.
#pragma once

#include "ByteClass.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vx {

class Wildcards {
public:
    explicit Wildcards(const std::string &pattern);

    // What counts as part of a text without being in it, and what may be left out of it.
    struct Frame {
        bool hasSlashBefore = false;
        bool hasSlashAfter = false;
        bool mayBeginAfterSlashes = false;  // at any of them
    };

    // Whether the pattern matches the whole text.
    bool Match(std::string_view text, const Frame &frame) const;

private:
    using Word = uint64_t;

    void Compile(const std::string &pattern);
    size_t TakeStars(const std::string &pattern, size_t at);
    bool TakeByte(const std::string &pattern, size_t *at);
    void AcceptByte(const ByteSet &bytes);
    bool Run(std::string_view text, const Frame &frame, Word *states) const;
    void Step(unsigned char byte, Word *states) const;

    // State n: n bytes of the pattern are matched. Each vector has _words for the states.
    size_t _words = 1;
    size_t _last = 0;             // the state in which all is matched
    bool _isPossible = true;      // false: no text matches
    std::vector<Word> _accepts;   // for each byte: the states that it leads to the next
    std::vector<Word> _stars;     // the states that a byte other than "/" may leave as they are
    std::vector<Word> _allStars;  // the states that any byte may
};

}  // namespace vx
