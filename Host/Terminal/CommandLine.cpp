#include "CommandLine.h"

#include "ArgumentReader.h"
#include "TypedSecret.h"

#include <cerrno>
#include <cstdlib>

namespace {

constexpr char kPath[] = "a path";
constexpr char kCode[] = "a command code, a number from 0 to 4294967295";

enum OwnOption { kExplorer, kSend };
const std::vector<vx::OptionName> kOwnOptions = {{"explorer", kPath}, {"send", kCode}};

bool ParseCode(const std::string &text, std::optional<uint32_t> &code)
{
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    errno = 0;
    const unsigned long long value = strtoull(text.c_str(), nullptr, 10);
    if (errno != 0 || value > UINT32_MAX)
        return false;
    code = static_cast<uint32_t>(value);
    return true;
}

class Parser {
public:
    explicit Parser(const std::vector<std::string> &arguments) : _reader(arguments, kOwnOptions)
    {
        // So that no word is moved, which would leave its bytes in the former place.
        _words.reserve(arguments.size());
    }
    ~Parser()
    {
        vx::WipeTexts(&_words);
        vx::WipeText(&_line.options.unlocking.secret);
    }
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    vx::CommandLine Parse()
    {
        int found = _reader.Next();
        for (; found >= Reader::kWord && _line.error.empty(); found = _reader.Next())
            Take(found);
        if (_line.error.empty())
            _line.error = _reader.Error();
        _line.options.help = found == Reader::kHelp;
        _line.options.version = found == Reader::kVersion;
        if (_line.error.empty() && found == Reader::kEnd)
            TakeWords();
        return _line;
    }

private:
    using Reader = vx::ArgumentReader;

    void Take(int found)
    {
        if (found == Reader::kWord)
            _words.push_back(_reader.Value());
        else if (found == Reader::kOwnOption + kExplorer)
            TakeExplorer();
        else if (!ParseCode(_reader.Value(), _line.options.sendCode))
            _line.error = std::string("--send needs ") + kCode;
    }

    void TakeExplorer()
    {
        _line.options.explorer = _reader.Value();
        if (_reader.Value().empty())
            _line.error = std::string("--explorer needs ") + kPath;
    }

    void TakeWords()
    {
        if (_words.empty())
            _line.error = "a volume is missing";
        else if (_words.size() > 3)
            _line.error = "there is one argument too many: " + _words[3];
        else if (_words.size() > 1 && _reader.HasUnlock())
            _line.error = "the unlock kind was given twice: by --unlock and as " + _words[1];
        else
            TakeVolume();
    }

    void TakeVolume()
    {
        vx::Unlocking &unlocking = _line.options.unlocking;
        unlocking = _reader.Unlock();
        if (_words.size() > 1)
            unlocking.kind = _words[1];
        if (_words.size() > 2)
            unlocking.Take(_words[2].c_str(), &_line.error);
        _line.options.volume = _words[0];
    }

    vx::ArgumentReader _reader;
    std::vector<std::string> _words;
    vx::CommandLine _line;
};

}  // namespace

namespace vx {

CommandLine ParseCommandLine(const std::vector<std::string> &arguments)
{
    return Parser(arguments).Parse();
}

}  // namespace vx
