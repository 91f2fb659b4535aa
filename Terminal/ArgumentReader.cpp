#include "ArgumentReader.h"

#include "TypedSecret.h"

#include <algorithm>

namespace vx {
namespace {

// Codes that no short option has. The common options come first.
constexpr int kHelpCode = 256;
constexpr int kVersionCode = 257;
constexpr int kUnlockCode = 258;
constexpr int kFirstOwnCode = 259;

// "-": words that are no options are reported in their place. ":": getopt prints no messages.
constexpr char kShortOptions[] = "-:h";
constexpr int kWordCode = 1;
constexpr int kEndCode = -1;
constexpr int kUnknownCode = -2;

}  // namespace

ArgumentReader::ArgumentReader(const std::vector<std::string> &arguments,
                               const std::vector<OptionName> &options)
    : _names{{"help", nullptr}, {"version", nullptr}, {"unlock", "a kind and a secret"}}
{
    _names.insert(_names.end(), options.begin(), options.end());
    int code = kHelpCode;
    for (const OptionName &name : _names)
        _options.push_back(
            {name.name, name.value == nullptr ? no_argument : required_argument, nullptr, code++});
    _options.push_back({});
    static char program[] = "";
    _words.push_back(program);
    // getopt_long asks for words that are not const, and leaves these as they are.
    for (const std::string &argument : arguments)
        _words.push_back(const_cast<char *>(argument.c_str()));
    _words.push_back(nullptr);
    // Makes GNU's getopt_long begin anew, and BSD's as well.
    optind = 0;
}

ArgumentReader::~ArgumentReader()
{
    WipeText(&_unlocking.secret);
    WipeText(&_value);
}

// Whether the next word is no option or one of those that there are. getopt_long would accept the
// beginning of a name as well, and a cluster of letters.
bool ArgumentReader::IsKnown(const char *next)
{
    const std::string word = next == nullptr ? "" : next;
    if (word.empty() || word[0] != '-' || word == "-" || word == "--" || word == "-h")
        return true;
    _value = word.substr(0, word.find('=', 3));
    return std::any_of(_names.begin(), _names.end(), [&](const OptionName &name) {
        return _value == std::string("--") + name.name;
    });
}

// The code of the next option or word, whose value is then in _value.
int ArgumentReader::NextCode()
{
    // A word may be a secret, of which a shorter one would leave the end.
    WipeText(&_value);
    const int count = static_cast<int>(_words.size()) - 1;
    if (!_optionsEnded && !IsKnown(_words[static_cast<size_t>(std::max(optind, 1))]))
        return kUnknownCode;
    const int code =
        _optionsEnded ? kEndCode
                      : getopt_long(count, _words.data(), kShortOptions, _options.data(), nullptr);
    if (code != kEndCode) {
        _value = optarg == nullptr ? "" : optarg;
        return code;
    }
    _optionsEnded = true;
    if (optind == count)
        return kEndCode;
    _value = _words[static_cast<size_t>(optind++)];
    return kWordCode;
}

int ArgumentReader::Next()
{
    const int code = NextCode();
    switch (code) {
    case kEndCode:
        return kEnd;
    case kWordCode:
        return kWord;
    case 'h':
    case kHelpCode:
        return kHelp;
    case kVersionCode:
        return kVersion;
    case kUnlockCode:
        return TakeUnlock();
    case ':':
        return FailWithout(optopt);
    case '?':
        return FailWithValue(optopt);
    case kUnknownCode:
        return Fail("unknown option " + _value);
    default:
        return kOwnOption + code - kFirstOwnCode;
    }
}

// The kind is the option's value, the secret the word after it, whatever that looks like.
int ArgumentReader::TakeUnlock()
{
    if (_hasUnlock)
        return Fail("--unlock was given twice");
    const char *secret = _words[static_cast<size_t>(optind)];
    if (secret == nullptr)
        return FailWithout(kUnlockCode);
    ++optind;
    _hasUnlock = true;
    _unlocking.kind = _value;
    std::string error;
    return _unlocking.Take(secret, &error) ? Next() : Fail(error);
}

int ArgumentReader::FailWithout(int code)
{
    const OptionName &name = _names[static_cast<size_t>(code - kHelpCode)];
    return Fail("--" + std::string(name.name) + " needs " + name.value);
}

int ArgumentReader::FailWithValue(int code)
{
    return Fail("--" + std::string(_names[static_cast<size_t>(code - kHelpCode)].name) +
                " takes no value");
}

int ArgumentReader::Fail(const std::string &error)
{
    _error = error;
    return kError;
}

}  // namespace vx
