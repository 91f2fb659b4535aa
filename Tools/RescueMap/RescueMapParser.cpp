#include "RescueMapParser.h"

#include "VolumeOpeningOptions.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace vx {
namespace {

// ddrescue knows no later place.
constexpr uint64_t kMostBytes = std::numeric_limits<int64_t>::max();
constexpr std::string_view kSpaces = " \t\r\v\f";

std::string_view WithoutComment(std::string_view line)
{
    size_t mark = line.find('#');
    while (mark != line.npos && mark > 0 && kSpaces.find(line[mark - 1]) == kSpaces.npos)
        mark = line.find('#', mark + 1);
    return line.substr(0, mark);
}

// The next word of the line, or an empty one at its end.
std::string_view TakeWord(std::string_view *line)
{
    const size_t begin = line->find_first_not_of(kSpaces);
    if (begin == line->npos) {
        *line = {};
        return {};
    }
    const size_t end = std::min(line->find_first_of(kSpaces, begin), line->size());
    const std::string_view word = line->substr(begin, end - begin);
    line->remove_prefix(end);
    return word;
}

unsigned DigitOf(char letter)
{
    if (letter >= '0' && letter <= '9')
        return static_cast<unsigned>(letter - '0');
    const char lower = static_cast<char>(letter | 0x20);
    return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a') + 10 : 16;
}

// Up to kMostBytes.
std::optional<uint64_t> ParseNumber(std::string_view word)
{
    const bool isHex = word.size() > 2 && word[0] == '0' && (word[1] | 0x20) == 'x';
    const bool isOctal = !isHex && word.size() > 1 && word[0] == '0';
    const unsigned base = isHex ? 16 : isOctal ? 8 : 10;
    if (isHex)
        word.remove_prefix(2);
    if (word.empty())
        return std::nullopt;
    uint64_t number = 0;
    for (const char letter : word) {
        const unsigned digit = DigitOf(letter);
        if (digit >= base || number > (kMostBytes - digit) / base)
            return std::nullopt;
        number = number * base + digit;
    }
    return number;
}

bool IsOneOf(std::string_view word, std::string_view letters)
{
    return word.size() == 1 && letters.find(word.front()) != letters.npos;
}

}  // namespace

bool RescueMapParser::Take(std::string_view line)
{
    ++_line;
    const std::string_view fields = WithoutComment(line);
    if (fields.size() > kLongestLine)
        return Fail("it is too long");
    return fields.find_first_not_of(kSpaces) == fields.npos || TakeFields(fields);
}

bool RescueMapParser::TakeFields(std::string_view line)
{
    if (!(_hasStatus ? TakeArea(&line) : TakeStatus(&line)))
        return false;
    return TakeWord(&line).empty() || Fail("there is something after the last field");
}

bool RescueMapParser::TakeStatus(std::string_view *line)
{
    if (!ParseNumber(TakeWord(line)))
        return Fail("the status line does not begin with a position");
    if (!IsOneOf(TakeWord(line), "?*/-FG+"))
        return Fail("the status line has no status character");
    _hasStatus = true;
    const std::string_view pass = TakeWord(line);
    return pass.empty() || ParseNumber(pass) || Fail("the number of the pass is not a number");
}

bool RescueMapParser::TakeArea(std::string_view *line)
{
    const auto offset = ParseNumber(TakeWord(line));
    const auto length = ParseNumber(TakeWord(line));
    if (!offset || !length || *length > kMostBytes - *offset)
        return Fail("an area needs a position and a size, each a number below 2^63");
    const std::string_view status = TakeWord(line);
    if (!IsOneOf(status, "?*/-+"))
        return Fail("the status of an area is not one of ? * / - +");
    if (_hasArea && *offset != _end)
        return Fail(*offset < _end ? "the area overlaps the one before it"
                                   : "there is a gap between the area and the one before it");
    if (!_hasArea && !AddUnread(0, *offset))
        return false;
    _hasArea = true;
    _end = *offset + *length;
    if (status != "+")
        return AddUnread(*offset, *length);
    _rescued += *length;
    return true;
}

bool RescueMapParser::AddUnread(uint64_t offset, uint64_t length)
{
    AddRange(offset, length, &_unread);
    return _unread.size() <= VolumeOpeningOptions::kMostRanges ||
           Fail("the map has more areas than the 4,194,304 that fit into memory");
}

bool RescueMapParser::End()
{
    _line = 0;
    if (!_hasStatus)
        return Fail("it is empty or holds only comments");
    if (!_hasArea)
        return Fail("it names no areas");
    return AddUnread(_end, kMostBytes - _end);
}

bool RescueMapParser::Fail(const char *reason)
{
    _error = (_line > 0 ? "line " + std::to_string(_line) + ": " : "") + reason;
    return false;
}

}  // namespace vx
