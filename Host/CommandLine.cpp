#include "CommandLine.h"

#include <cerrno>
#include <cstdlib>

namespace {

constexpr char kUsage[] =
    "usage: volume-host [--explorer PATH] [--send CODE] VOLUME [KIND [SECRET]]\n"
    "       volume-host --help\n";

constexpr char kHelp[] =
    "usage: volume-host [--explorer PATH] [--send CODE] VOLUME [KIND [SECRET]]\n"
    "\n"
    "Starts the volume explorer on VOLUME, waits until it says that it is quitting or\n"
    "ends, reports in one line which of the two came, and removes what the two\n"
    "processes used to talk to each other.\n"
    "\n"
    "  VOLUME           the volume, as the volume library names it\n"
    "  KIND             the kind of unlock; none if it is left out\n"
    "  SECRET           what unlocks it; - asks for it on the terminal, unseen\n"
    "  --explorer PATH  start this program instead of the explorer beside this one\n"
    "  --send CODE      send the explorer one message with this command code\n"
    "  --help           this text\n"
    "  --               what follows is no option, even if it begins with -\n"
    "\n"
    "A secret given on the command line stays in the shell's history; use - instead.\n"
    "The explorer is handed the secret as an argument, so while it runs, other users of\n"
    "this machine can see it in the list of processes either way.\n"
    "\n"
    "exit status:\n"
    "  0    the explorer sent its quit notice and ended\n"
    "  1    the explorer ended without a quit notice\n"
    "  2    wrong use\n"
    "  3    the link is taken: another host is running, or its paths are in the way\n"
    "  4    the explorer could not be started, or there is no terminal to ask on\n"
    "  5    the explorer sent its quit notice but did not end, and was ended\n"
    "  6    the message of --send could not be sent\n"
    "  128+N  interrupted by signal N; the explorer was ended, or never started\n";

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
    explicit Parser(const std::vector<std::string> &arguments) : _arguments(arguments) {}

    vx::CommandLine Parse()
    {
        while (_next < _arguments.size() && _line.error.empty())
            TakeArgument(_arguments[_next++]);
        if (_line.error.empty() && !_line.options.help)
            TakePlaces();
        return _line;
    }

private:
    void TakeArgument(const std::string &argument)
    {
        const bool isOption = argument.size() > 1 && argument[0] == '-' && !_optionsEnded;
        if (!isOption)
            _places.push_back(argument);
        else if (argument == "--")
            _optionsEnded = true;
        else if (argument == "--help")
            _line.options.help = true;
        else if (argument == "--explorer")
            TakeExplorer();
        else if (argument == "--send")
            TakeCode();
        else
            _line.error = "unknown option " + argument;
    }

    void TakeExplorer()
    {
        if (_next == _arguments.size() || _arguments[_next].empty())
            _line.error = "--explorer needs a path";
        else
            _line.options.explorer = _arguments[_next++];
    }

    void TakeCode()
    {
        if (_next == _arguments.size() || !ParseCode(_arguments[_next], _line.options.sendCode))
            _line.error = "--send needs a command code, a number from 0 to 4294967295";
        else
            ++_next;
    }

    void TakePlaces()
    {
        vx::HostOptions &options = _line.options;
        if (_places.empty())
            _line.error = "a volume is missing";
        else if (_places.size() > 3)
            _line.error = "there is an argument too many: " + _places[3];
        else
            options.volume = _places[0];
        if (_places.size() > 1)
            options.kind = _places[1];
        if (_places.size() > 2)
            options.askForSecret = _places[2] == "-";
        if (_places.size() > 2 && !options.askForSecret)
            options.secret = _places[2];
    }

    const std::vector<std::string> &_arguments;
    size_t _next = 0;
    bool _optionsEnded = false;
    std::vector<std::string> _places;
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

}  // namespace vx
