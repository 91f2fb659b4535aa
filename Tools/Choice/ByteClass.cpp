#include "ByteClass.h"

namespace vx {
namespace {

struct NamedClass {
    const char *name;
    bool (*holds)(int character);
};

bool IsIn(int character, int first, int last)
{
    return character >= first && character <= last;
}

bool IsDigit(int character)
{
    return IsIn(character, '0', '9');
}

bool IsLower(int character)
{
    return IsIn(character, 'a', 'z');
}

bool IsUpper(int character)
{
    return IsIn(character, 'A', 'Z');
}

bool IsAlpha(int character)
{
    return IsLower(character) || IsUpper(character);
}

bool IsAlnum(int character)
{
    return IsAlpha(character) || IsDigit(character);
}

bool IsGraph(int character)
{
    return IsIn(character, '!', '~');
}

// In every locale those of ASCII.
constexpr NamedClass kNamedClasses[] = {
    {"alnum", IsAlnum},
    {"alpha", IsAlpha},
    {"blank", [](int character) { return character == ' ' || character == '\t'; }},
    {"cntrl", [](int character) { return character < ' ' || character == 127; }},
    {"digit", IsDigit},
    {"graph", IsGraph},
    {"lower", IsLower},
    {"print", [](int character) { return character == ' ' || IsGraph(character); }},
    {"punct", [](int character) { return IsGraph(character) && !IsAlnum(character); }},
    {"space", [](int character) { return character == ' ' || IsIn(character, '\t', '\r'); }},
    {"upper", IsUpper},
    {"xdigit",
     [](int character) {
         return IsDigit(character) || IsIn(character, 'a', 'f') || IsIn(character, 'A', 'F');
     }},
};

class Reader {
public:
    Reader(const std::string &pattern, size_t at) : _pattern(pattern), _at(at) {}

    // The position after the "]"; nothing as for ReadByteClass.
    std::optional<size_t> Run(ByteSet *bytes)
    {
        const char sign = At(++_at);
        const bool isInverse = sign == '!' || sign == '^';
        _at += isInverse ? 1 : 0;
        // A "]" that comes first is one of the bytes.
        do {
            if (_at >= _pattern.size() || !TakeMember())
                return std::nullopt;
        } while (At(_at) != ']');
        *bytes = isInverse ? ~_bytes : _bytes;
        bytes->reset('/');
        return _at + 1;
    }

private:
    char At(size_t at) const { return at < _pattern.size() ? _pattern[at] : '\0'; }

    bool TakeMember()
    {
        if (At(_at) == '[' && At(_at + 1) == ':') {
            const size_t end = _pattern.find(']', _at + 2);
            if (end == std::string::npos)
                return false;
            if (end > _at + 2 && _pattern[end - 1] == ':')
                return TakeNamed(end);
        }
        const char next = At(_at + 1);
        if (At(_at) == '-' && _first >= 0 && next != '\0' && next != ']')
            return TakeRange();
        return TakeByte(&_first) && (_bytes.set(static_cast<size_t>(_first)), true);
    }

    bool TakeNamed(size_t end)
    {
        const std::string name = _pattern.substr(_at + 2, end - _at - 3);
        _at = end + 1;
        _first = -1;
        for (const NamedClass &known : kNamedClasses) {
            if (name != known.name)
                continue;
            for (int byte = 0; byte < 128; ++byte)
                _bytes[static_cast<size_t>(byte)] =
                    _bytes[static_cast<size_t>(byte)] || known.holds(byte);
            return true;
        }
        return false;
    }

    bool TakeRange()
    {
        int last = 0;
        ++_at;
        if (!TakeByte(&last))
            return false;
        for (int byte = _first; byte <= last; ++byte)
            _bytes.set(static_cast<size_t>(byte));
        _first = -1;
        return true;
    }

    // After a backslash the next one, whatever it is.
    bool TakeByte(int *byte)
    {
        _at += _pattern[_at] == '\\' ? 1 : 0;
        if (_at >= _pattern.size())
            return false;
        *byte = static_cast<unsigned char>(_pattern[_at++]);
        return true;
    }

    const std::string &_pattern;
    size_t _at;
    ByteSet _bytes;
    int _first = -1;  // of a range that may follow
};

}  // namespace

std::optional<ByteSet> ReadByteClass(const std::string &pattern, size_t *at)
{
    ByteSet bytes;
    const auto end = Reader(pattern, *at).Run(&bytes);
    if (!end)
        return std::nullopt;
    *at = *end;
    return bytes;
}

}  // namespace vx
