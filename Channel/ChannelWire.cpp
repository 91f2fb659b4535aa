#include "ChannelWire.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kRangeBytes = 16;
constexpr char kCutNote[] = "\nmore was noticed; the list was cut";

void AppendU32(uint64_t number, std::string *bytes)
{
    AppendChannelNumber(number, 4, bytes);
}

void AppendU64(uint64_t number, std::string *bytes)
{
    AppendChannelNumber(number, 8, bytes);
}

void AppendText(std::string_view text, std::string *bytes)
{
    AppendU32(text.size(), bytes);
    bytes->append(text);
}

// At the end of a line, or at least of a character, with a note of it.
std::string Cut(std::string_view detail)
{
    if (detail.size() <= kMostChannelDetail)
        return std::string(detail);
    const auto isWithinCharacter = [](char byte) { return (byte & 0xC0) == 0x80; };
    size_t end = kMostChannelDetail - sizeof(kCutNote);
    const size_t line = detail.rfind('\n', end);
    if (line != detail.npos)
        end = line;
    while (end > 0 && isWithinCharacter(detail[end]))
        --end;
    return std::string(detail.substr(0, end)) + kCutNote;
}

struct Encoder {
    std::string body;

    ChannelMessage operator()(const ChannelProgress &progress)
    {
        AppendU32(progress.step, &body);
        AppendU64(progress.done, &body);
        AppendU64(progress.total, &body);
        AppendU32(progress.seconds, &body);
        return ChannelMessage::kProgress;
    }

    ChannelMessage operator()(const ChannelOpened &opened)
    {
        AppendU32(static_cast<uint32_t>(opened.status), &body);
        AppendText(Cut(opened.detail), &body);
        return ChannelMessage::kOpened;
    }

    ChannelMessage operator()(const ChannelDamage &damage)
    {
        constexpr size_t kNumbers = 24;
        const size_t room = (kMostChannelBody - kNumbers - damage.path.size()) / kRangeBytes;
        const size_t count = std::min(damage.ranges.size(), room);
        AppendU32(static_cast<uint32_t>(damage.kind), &body);
        AppendU32(damage.obstacle, &body);
        AppendText(damage.path, &body);
        AppendU32(count, &body);
        for (size_t i = 0; i < count; ++i) {
            AppendU64(damage.ranges[i].offset, &body);
            AppendU64(damage.ranges[i].length, &body);
        }
        AppendU64(damage.more + (damage.ranges.size() - count), &body);
        return ChannelMessage::kDamage;
    }

    ChannelMessage operator()(const ChannelLoss &loss)
    {
        AppendU64(loss.count, &body);
        return ChannelMessage::kLoss;
    }
};

// Not by std::visit, which several compilers refuse in programs for macOS 10.13.
ChannelMessage Encode(const ChannelReport &report, Encoder *encoder)
{
    if (const auto *progress = std::get_if<ChannelProgress>(&report))
        return (*encoder)(*progress);
    if (const auto *opened = std::get_if<ChannelOpened>(&report))
        return (*encoder)(*opened);
    if (const auto *damage = std::get_if<ChannelDamage>(&report))
        return (*encoder)(*damage);
    if (const auto *loss = std::get_if<ChannelLoss>(&report))
        return (*encoder)(*loss);
    return ChannelMessage::kFarewell;
}

bool CanBeSent(const ChannelReport &report)
{
    const auto *damage = std::get_if<ChannelDamage>(&report);
    return !std::holds_alternative<ChannelMasterKey>(report) &&
           (damage == nullptr || damage->path.size() <= kMostChannelPath);
}

ChannelProgress TakeProgress(ChannelBytes *body)
{
    ChannelProgress progress;
    progress.step = body->TakeU32();
    progress.done = body->TakeU64();
    progress.total = body->TakeU64();
    progress.seconds = body->TakeU32();
    return progress;
}

ChannelOpened TakeOpened(ChannelBytes *body)
{
    ChannelOpened opened;
    opened.status = static_cast<int32_t>(body->TakeU32());
    opened.detail = body->TakeText(kMostChannelDetail);
    return opened;
}

bool IsKnown(ChannelDamageKind kind)
{
    return kind >= ChannelDamageKind::kFileData && kind <= ChannelDamageKind::kDiskGone;
}

// Those that the host adds up or shows. No file is longer, and no list.
constexpr uint64_t kGreatest = INT64_MAX;

// In ascending order, none of them empty, and apart from each other.
bool TakeRanges(ChannelBytes *body, ByteRanges *ranges)
{
    const size_t count = body->TakeU32();
    if (count > body->Left() / kRangeBytes)
        return false;
    uint64_t end = 0;
    for (size_t i = 0; i < count; ++i) {
        const uint64_t offset = body->TakeU64();
        const uint64_t length = body->TakeU64();
        const bool follows = i == 0 || offset > end;
        if (!follows || length == 0 || offset > kGreatest || length > kGreatest - offset)
            return false;
        ranges->push_back({offset, length});
        end = offset + length;
    }
    return true;
}

std::optional<ChannelReport> TakeDamage(ChannelBytes *body)
{
    ChannelDamage damage;
    damage.kind = static_cast<ChannelDamageKind>(body->TakeU32());
    damage.obstacle = body->TakeU32();
    damage.path = body->TakeText(kMostChannelPath);
    if (!IsKnown(damage.kind) || !TakeRanges(body, &damage.ranges))
        return std::nullopt;
    damage.more = body->TakeU64();
    if (damage.more > kGreatest)
        return std::nullopt;
    return damage;
}

std::optional<ChannelReport> TakeLoss(ChannelBytes *body)
{
    const ChannelLoss loss{body->TakeU64()};
    if (loss.count > kGreatest)
        return std::nullopt;
    return loss;
}

std::optional<ChannelReport> TakeMasterKey(ChannelBytes *body)
{
    const size_t size = body->Left();
    if (size == 0 || size > kMostChannelKey)
        return std::nullopt;
    return ChannelMasterKey{ProtectedBytes(body->Take(size).data(), size)};
}

std::optional<ChannelReport> TakeReport(ChannelMessage type, ChannelBytes *body)
{
    switch (type) {
    case ChannelMessage::kProgress:
        return TakeProgress(body);
    case ChannelMessage::kOpened:
        return TakeOpened(body);
    case ChannelMessage::kDamage:
        return TakeDamage(body);
    case ChannelMessage::kLoss:
        return TakeLoss(body);
    case ChannelMessage::kMasterKey:
        return TakeMasterKey(body);
    case ChannelMessage::kFarewell:
        return ChannelFarewell{};
    case ChannelMessage::kOpening:
        break;
    }
    return std::nullopt;
}

}  // namespace

ProtectedBytes ChannelMasterKey::Digits() const
{
    constexpr char kDigits[] = "0123456789abcdef";
    ProtectedBytes digits(2 * key.Size() + 1);
    for (size_t i = 0; i < key.Size(); ++i) {
        digits.Data()[2 * i] = static_cast<uint8_t>(kDigits[key.Data()[i] >> 4]);
        digits.Data()[2 * i + 1] = static_cast<uint8_t>(kDigits[key.Data()[i] & 15]);
    }
    return digits;
}

std::string_view ChannelBytes::Take(size_t count)
{
    _isGood = _isGood && count <= _left.size();
    if (!_isGood)
        return {};
    const std::string_view taken = _left.substr(0, count);
    _left.remove_prefix(count);
    return taken;
}

std::string_view ChannelBytes::TakeText(size_t mostBytes)
{
    const size_t length = TakeU32();
    const std::string_view text = Take(length);
    _isGood = _isGood && length <= mostBytes && text.find('\0') == text.npos;
    return _isGood ? text : std::string_view();
}

uint64_t ChannelBytes::TakeNumber(size_t width)
{
    const std::string_view bytes = Take(width);
    uint64_t number = 0;
    for (size_t i = 0; i < bytes.size(); ++i)
        number |= uint64_t{static_cast<uint8_t>(bytes[i])} << 8 * i;
    return number;
}

void AppendChannelNumber(uint64_t number, size_t width, std::string *bytes)
{
    for (size_t i = 0; i < width; ++i)
        bytes->push_back(static_cast<char>(number >> 8 * i & 0xFF));
}

std::string ChannelHeaderBytes(ChannelMessage type, size_t length)
{
    std::string bytes;
    AppendU32(static_cast<uint32_t>(type), &bytes);
    AppendU32(length, &bytes);
    return bytes;
}

ChannelHeader ParseChannelHeader(std::string_view bytes)
{
    ChannelBytes header(bytes);
    const uint32_t type = header.TakeU32();
    return {type, header.TakeU32()};
}

std::optional<std::string> ChannelReportBytes(const ChannelReport &report)
{
    if (!CanBeSent(report))
        return std::nullopt;
    Encoder encoder;
    const ChannelMessage type = Encode(report, &encoder);
    return ChannelHeaderBytes(type, encoder.body.size()) + encoder.body;
}

bool IsChannelReport(uint32_t type)
{
    return type >= static_cast<uint32_t>(ChannelMessage::kProgress) &&
           type <= static_cast<uint32_t>(ChannelMessage::kFarewell);
}

std::optional<ChannelReport> ParseChannelReport(uint32_t type, std::string_view body)
{
    ChannelBytes bytes(body);
    auto report = TakeReport(static_cast<ChannelMessage>(type), &bytes);
    return bytes.IsDone() ? std::move(report) : std::nullopt;
}

}  // namespace vx
