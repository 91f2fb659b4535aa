#include "CommandLine.h"

#include "ArgumentReader.h"

#include <cerrno>
#include <cstdlib>

namespace {

constexpr char kPath[] = "a path";
constexpr char kCode[] = "a command code, a number from 0 to 4294967295";

enum OwnOption { kExplorer, kSend };
const std::vector<vx::OptionName> kOwnOptions = {{"explorer", kPath}, {"send", kCode}};

#define VX_USAGE                                                                                   \
    "usage: volume-host [--explorer PATH] [--send CODE] VOLUME [--unlock KIND SECRET]\n"

constexpr char kUsage[] = VX_USAGE "Try \"volume-host --help\" for more.\n";

constexpr char kHelp[] = VX_USAGE R"(
Starts the volume explorer on VOLUME, waits for its quit notice or its end, reports
in one line which of the two came, and removes the FIFOs of the link.

  VOLUME                what to open: a folder, a device or a disk image
  --unlock KIND SECRET  how to unlock the volume (default: none, with an empty secret).
                        A SECRET of "-" is asked for on the terminal, without echo
  --explorer PATH       start this program instead of the explorer beside this one
  --send CODE           send the explorer one message with this command code
  --                    all that follows is VOLUME, even if it begins with "-"
  --help, --version

"VOLUME KIND SECRET" is accepted too and means "VOLUME --unlock KIND SECRET".

A secret given on the command line stays in the shell's history; use - instead.
The secret is passed to the explorer as an argument, so while that runs, other users of
this machine can see it in the list of processes either way.

Exit status
  0    the explorer sent its quit notice and ended
  1    the explorer ended without a quit notice
  2    wrong use, or no secret was given
  3    the link is taken: another host is running, or its paths are in the way
  4    the explorer could not be started, or there is no terminal to ask on
  5    the explorer sent its quit notice but did not end, and was ended
  6    the message of --send could not be sent
  128+N  interrupted by signal N; the explorer was ended, or never started
)";

constexpr char kVersion[] = "volume-host " VX_VERSION "\n";

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
    explicit Parser(const std::vector<std::string> &arguments) : _reader(arguments, kOwnOptions) {}

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
        vx::Unlocking unlocking = _reader.Unlock();
        if (_words.size() > 1)
            unlocking.kind = _words[1];
        if (_words.size() > 2)
            unlocking.Take(_words[2].c_str());
        _line.options.volume = _words[0];
        _line.options.kind = unlocking.kind;
        _line.options.secret = unlocking.secret;
        _line.options.askForSecret = unlocking.asksSecret;
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

const char *UsageText()
{
    return kUsage;
}

const char *HelpText()
{
    return kHelp;
}

const char *VersionText()
{
    return kVersion;
}

}  // namespace vx
