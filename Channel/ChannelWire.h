// The bytes of the channel's messages. Numbers are little endian; a text is its length in 32 bits
// and its bytes. docs/channel.md has the table.
//
// Threads: any. Errors: what is malformed gives nothing; std::bad_alloc may be thrown.
#pragma once

#include "ChannelMessages.h"

#include <optional>
#include <string>
#include <string_view>

namespace vx {

// Never reused for something else.
enum class ChannelMessage : uint32_t {
    kOpening = 1,
    kProgress = 2,
    kOpened = 3,
    kDamage = 4,
    kLoss = 5,
    kMasterKey = 6,
    kFarewell = 7,
};

constexpr size_t kChannelHeaderBytes = 8;

struct ChannelHeader {
    uint32_t type = 0;
    uint32_t length = 0;  // of the body
};

inline bool IsOfType(const ChannelHeader &header, ChannelMessage type)
{
    return header.type == static_cast<uint32_t>(type);
}

// Takes numbers and texts from the front of bytes; after what is not there all is empty and IsGood
// false.
class ChannelBytes {
public:
    explicit ChannelBytes(std::string_view bytes) : _left(bytes) {}

    uint32_t TakeU32() { return static_cast<uint32_t>(TakeNumber(4)); }
    uint64_t TakeU64() { return TakeNumber(8); }
    std::string_view TakeText(size_t mostBytes);
    std::string_view Take(size_t count);

    bool IsGood() const { return _isGood; }
    // Nothing was missing and nothing is left.
    bool IsDone() const { return _isGood && _left.empty(); }
    size_t Left() const { return _left.size(); }

private:
    uint64_t TakeNumber(size_t width);

    std::string_view _left;
    bool _isGood = true;
};

void AppendChannelNumber(uint64_t number, size_t width, std::string *bytes);

std::string ChannelHeaderBytes(ChannelMessage type, size_t length);
ChannelHeader ParseChannelHeader(std::string_view bytes);

// A whole message. Not of a ChannelMasterKey, whose bytes never get into a string. Nothing for a
// path that is too long; a detail and ranges are cut.
std::optional<std::string> ChannelReportBytes(const ChannelReport &report);
bool IsChannelReport(uint32_t type);
// type: one of a report.
std::optional<ChannelReport> ParseChannelReport(uint32_t type, std::string_view body);

}  // namespace vx
