#include "Wildcards.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kBits = 64;

ByteSet AllBut(unsigned char byte)
{
    return ByteSet().set().reset(byte);
}

}  // namespace

Wildcards::Wildcards(const std::string &pattern)
    // A state for each byte of the pattern at most, and the last.
    : _words(pattern.size() / kBits + 1), _accepts(256 * _words), _stars(_words), _allStars(_words)
{
    Compile(pattern);
}

void Wildcards::Compile(const std::string &pattern)
{
    for (size_t at = 0; at < pattern.size() && _isPossible;) {
        if (pattern[at] == '*')
            at = TakeStars(pattern, at);
        else
            _isPossible = TakeByte(pattern, &at);
    }
}

// Returns the position after them.
size_t Wildcards::TakeStars(const std::string &pattern, size_t at)
{
    const size_t end = std::min(pattern.find_first_not_of('*', at), pattern.size());
    std::vector<Word> &stars = end - at > 1 ? _allStars : _stars;
    stars[_last / kBits] |= Word{1} << _last % kBits;
    return end;
}

// False: the pattern ends within, and matches nothing.
bool Wildcards::TakeByte(const std::string &pattern, size_t *at)
{
    if (pattern[*at] == '[') {
        const auto bytes = ReadByteClass(pattern, at);
        AcceptByte(bytes.value_or(ByteSet()));
        return bytes.has_value();
    }
    if (pattern[*at] == '?') {
        ++*at;
        AcceptByte(AllBut('/'));
        return true;
    }
    *at += pattern[*at] == '\\' ? 1 : 0;
    if (*at == pattern.size())
        return false;
    AcceptByte(ByteSet().set(static_cast<unsigned char>(pattern[(*at)++])));
    return true;
}

void Wildcards::AcceptByte(const ByteSet &bytes)
{
    for (size_t byte = 0; byte < bytes.size(); ++byte) {
        if (bytes[byte])
            _accepts[byte * _words + _last / kBits] |= Word{1} << _last % kBits;
    }
    ++_last;
}

bool Wildcards::Match(std::string_view text, const Frame &frame) const
{
    if (!_isPossible)
        return false;
    if (_words == 1) {
        Word state = 0;
        return Run(text, frame, &state);
    }
    std::vector<Word> states(_words);
    return Run(text, frame, states.data());
}

bool Wildcards::Run(std::string_view text, const Frame &frame, Word *states) const
{
    states[0] = 1;
    if (frame.hasSlashBefore)
        Step('/', states);
    for (const char character : text) {
        Step(static_cast<unsigned char>(character), states);
        if (frame.mayBeginAfterSlashes && character == '/')
            states[0] |= 1;
    }
    if (frame.hasSlashAfter)
        Step('/', states);
    return (states[_last / kBits] >> _last % kBits & 1) != 0;
}

void Wildcards::Step(unsigned char byte, Word *states) const
{
    const Word *accepts = &_accepts[byte * _words];
    const Word starsMask = byte == '/' ? 0 : ~Word{0};
    Word carry = 0;
    for (size_t word = 0; word < _words; ++word) {
        const Word moved = states[word] & accepts[word];
        const Word kept = states[word] & ((_stars[word] & starsMask) | _allStars[word]);
        states[word] = moved << 1 | carry | kept;
        carry = moved >> (kBits - 1);
    }
}

}  // namespace vx
