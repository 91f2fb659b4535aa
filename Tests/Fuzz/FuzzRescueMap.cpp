// Fuzz target: any text as a map of ddrescue. What is accepted gives sorted ranges that do not
// touch, and means the same when it is written and read again.
#include "Require.h"
#include "RescueMapParser.h"
#include "RescueMapWriter.h"

#include <algorithm>
#include <cstdint>

namespace {

using vx::ByteRange;
using vx::ByteRanges;

constexpr uint64_t kEnd = INT64_MAX;

bool TakeText(std::string_view text, vx::RescueMapParser *parser)
{
    while (!text.empty()) {
        const size_t length = std::min(text.find('\n'), text.size());
        if (!parser->Take(text.substr(0, length)))
            return false;
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return parser->End();
}

ByteRanges Inverted(const ByteRanges &ranges)
{
    ByteRanges others;
    uint64_t at = 0;
    for (const ByteRange &range : ranges) {
        vx::AddRange(at, range.offset - at, &others);
        at = range.offset + range.length;
    }
    vx::AddRange(at, kEnd - at, &others);
    return others;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    vx::RescueMapParser parser;
    if (!TakeText({reinterpret_cast<const char *>(data), size}, &parser)) {
        Require(!parser.Error().empty(), "a refusal has a reason");
        return 0;
    }
    const ByteRanges unread = parser.TakeUnread();
    uint64_t end = 0;
    for (const ByteRange &range : unread) {
        Require(range.length > 0 && (range.offset > end || (range.offset == 0 && end == 0)),
                "the ranges are sorted and do not touch");
        end = range.offset + range.length;
        Require(end <= kEnd, "no range ends beyond the last place");
    }
    vx::RescueMapParser again;
    Require(TakeText(vx::RescueMapText(Inverted(unread), kEnd), &again), "what is written is read");
    const ByteRanges same = again.TakeUnread();
    Require(std::equal(unread.begin(), unread.end(), same.begin(), same.end(),
                       [](const ByteRange &one, const ByteRange &other) {
                           return one.offset == other.offset && one.length == other.length;
                       }),
            "and means the same");
    return 0;
}
