#include "RecoveryKeyText.h"

#include "HexText.h"
#include "PlainKeyText.h"
#include "RecoveryPassword.h"
#include "Sha256.h"

#include <algorithm>
#include <optional>

namespace vx::bitlocker {
namespace {

constexpr size_t kGroups = 8;
constexpr size_t kGroupDigits = 6;
constexpr size_t kMostSeparators = 4;  // between two groups
constexpr size_t kGuidDigits[] = {8, 4, 4, 4, 12};
constexpr size_t kGuidLength = 36;

bool IsDigit(char sign)
{
    return sign >= '0' && sign <= '9';
}

bool IsLetter(char sign)
{
    return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z');
}

bool IsWord(char sign)
{
    return IsDigit(sign) || IsLetter(sign);
}

bool IsBetweenGroups(char sign)
{
    return sign == ' ' || sign == '-' || sign == '\t';
}

// --- Identifiers

// text: kGuidLength signs, "1a2b3c4d-0102-...".
std::optional<Guid> GuidOf(std::string_view text)
{
    // Where each byte of the text's order lies in the stored order.
    static constexpr size_t kPlaces[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    Guid guid;
    size_t at = 0;
    size_t byte = 0;
    for (const size_t digits : kGuidDigits) {
        if (at > 0 && text[at++] != '-')
            return std::nullopt;
        for (size_t end = at + digits; at < end; at += 2) {
            const int high = HexValue(text[at]);
            const int low = HexValue(text[at + 1]);
            if (high < 0 || low < 0)
                return std::nullopt;
            guid.bytes[kPlaces[byte++]] = static_cast<uint8_t>(high << 4 | low);
        }
    }
    return guid;
}

std::vector<Guid> GuidsIn(std::string_view line)
{
    std::vector<Guid> found;
    for (size_t at = 0; at + kGuidLength <= line.size(); ++at) {
        const size_t end = at + kGuidLength;
        if ((at > 0 && IsWord(line[at - 1])) || (end < line.size() && IsWord(line[end])))
            continue;
        const std::optional<Guid> guid = GuidOf(line.substr(at, kGuidLength));
        if (guid && found.size() < KeyList::kMostIdentifiers)
            found.push_back(*guid);
        at += guid ? kGuidLength - 1 : 0;
    }
    return found;
}

// --- Groups of digits

// How many digits begin at a place; no more than limit + 1 are counted.
size_t CountDigits(std::string_view text, size_t limit)
{
    size_t count = 0;
    while (count < text.size() && count <= limit && IsDigit(text[count]))
        ++count;
    return count;
}

// Where a group begins and how many groups of six its digits make: 1, or 8 for one without
// separators; 0 if they are no groups.
size_t GroupsAt(std::string_view line, size_t at)
{
    const size_t digits = CountDigits(line.substr(at), kGroups * kGroupDigits);
    const size_t end = at + digits;
    if ((at > 0 && IsWord(line[at - 1])) || (end < line.size() && IsWord(line[end])))
        return 0;
    return digits == kGroupDigits || digits == kGroups * kGroupDigits ? digits / kGroupDigits : 0;
}

// The place after the separators, if another group of six begins there; else npos.
size_t NextGroup(std::string_view line, size_t at)
{
    size_t next = at;
    while (next < line.size() && next - at < kMostSeparators && IsBetweenGroups(line[next]))
        ++next;
    return next > at && next < line.size() && GroupsAt(line, next) == 1 ? next : line.npos;
}

// Groups of six that follow each other, by the places where they begin.
std::vector<size_t> RunOfGroups(std::string_view line, size_t at)
{
    std::vector<size_t> begins;
    for (; at != line.npos; at = NextGroup(line, at + kGroupDigits))
        begins.push_back(at);
    return begins;
}

// --- The text

class Finder {
public:
    // otherwise: the identifiers of keys for which the text has none.
    Finder(KeyList *keys, const std::vector<Guid> &otherwise) : _keys(*keys), _otherwise(otherwise)
    {
    }

    RecoveryKeyText Find(std::string_view text)
    {
        while (!text.empty()) {
            ++_line;
            const std::string_view line = text.substr(0, text.find('\n'));
            text.remove_prefix(std::min(text.size(), line.size() + 1));
            TakeLine(line);
        }
        AddOpenKeys();
        return std::move(_result);
    }

private:
    void TakeLine(std::string_view line)
    {
        _identifiers = GuidsIn(line);
        const size_t foundBefore = _result.found;
        for (size_t at = 0; at < line.size(); ++at) {
            const size_t groups = GroupsAt(line, at);
            if (groups == kGroups)
                TakePassword(line.substr(at, kGroups * kGroupDigits), true);
            if (groups == 1)
                at = TakeRun(line, RunOfGroups(line, at));
            else if (IsDigit(line[at]))
                at += CountDigits(line.substr(at), line.size()) - 1;
        }
        if (_result.found == foundBefore)
            return KeepWaiting();
        _waiting.clear();
        if (!_identifiers.empty())
            AddOpenKeys();
    }

    // Returns the place of the run's last sign.
    size_t TakeRun(std::string_view line, const std::vector<size_t> &begins)
    {
        // Other numbers of six digits beside a password leave open where it begins.
        const size_t step = begins.size() % kGroups == 0 ? kGroups : 1;
        for (size_t first = 0; first + kGroups <= begins.size(); first += step) {
            const size_t end = begins[first + kGroups - 1] + kGroupDigits;
            TakePassword(line.substr(begins[first], end - begins[first]), step == kGroups);
        }
        return begins.back() + kGroupDigits - 1;
    }

    // isCertain: it can be nothing else.
    void TakePassword(std::string_view digits, bool isCertain)
    {
        const Result<KeyMaterial> bytes = ParseRecoveryPassword(digits);
        if (!bytes) {
            if (isCertain && _result.mistyped++ == 0)
                _result.firstMistake =
                    "line " + std::to_string(_line) + ": " + bytes.Failure().detail;
            return;
        }
        KeyMaterial hash(sizeof(Sha256Digest));
        Sha256(bytes->View(), hash.Data());
        KeepOpen(hash.View());
        ++_result.found;
    }

    void KeepOpen(ByteView key)
    {
        if (_openLine != _line || _open.IsFull())
            AddOpenKeys();
        if (_openLine != _line) {
            _label.identifiers.clear();
            _label.AddIdentifiers(_identifiers.empty() ? _waiting : _identifiers);
        }
        _openLine = _line;
        _open.Add(ProtectorKind::kRecoveryPassword, key);
    }

    void AddOpenKeys()
    {
        for (size_t key = 0; key < _open.Size(); ++key)
            _keys.Add(ProtectorKind::kRecoveryPassword, _open.Key(key),
                      _label.identifiers.empty() ? _otherwise : _label.identifiers);
        _open.Clear();
    }

    void KeepWaiting()
    {
        _label.AddIdentifiers(_identifiers);
        for (const Guid &identifier : _identifiers)
            if (_waiting.size() < KeyList::kMostIdentifiers)
                _waiting.push_back(identifier);
    }

    KeyList &_keys;
    const std::vector<Guid> &_otherwise;
    RecoveryKeyText _result;
    size_t _line = 0;
    // The keys of the last line that has any, until no more identifiers can follow, and what they
    // have in common.
    KeyList _open;
    size_t _openLine = 0;
    KeyList::Label _label;
    std::vector<Guid> _waiting;      // of lines without a password
    std::vector<Guid> _identifiers;  // of the line
};

}  // namespace

RecoveryKeyText RecoveryKeyText::Find(ByteView file, KeyList *keys,
                                      const std::vector<Guid> &identifiers)
{
    KeyMaterial signs = PlainKeyText(file);
    const std::string_view text(reinterpret_cast<const char *>(signs.Data()), signs.Size());
    RecoveryKeyText inLines = Finder(keys, identifiers).Find(text);
    if (inLines.found > 0 || inLines.mistyped > 0)
        return inLines;
    std::replace(signs.Data(), signs.Data() + signs.Size(), uint8_t{'\n'}, uint8_t{' '});
    return Finder(keys, identifiers).Find(text);
}

std::vector<Guid> IdentifiersInName(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return GuidsIn(std::string_view(path).substr(slash == path.npos ? 0 : slash + 1));
}

}  // namespace vx::bitlocker
