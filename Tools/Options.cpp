#include "Options.h"

#include <cstddef>

namespace vx {
namespace {

// Reads the arguments from the first to the last and remembers what was seen.
class Parser {
public:
    Parser(const std::vector<std::string> &arguments, std::string *error)
        : _arguments(arguments), _error(*error)
    {
    }

    std::optional<Options> Run()
    {
        while (_next < _arguments.size() && !_finished) {
            if (!TakeArgument(_arguments[_next++]))
                return std::nullopt;
        }
        if (!_finished && !IsComplete())
            return std::nullopt;
        return _options;
    }

private:
    bool TakeArgument(const std::string &argument)
    {
        if (_optionsEnded || argument.size() < 2 || argument[0] != '-')
            return TakePath(argument);
        if (argument == "--") {
            _optionsEnded = true;
            return true;
        }
        return TakeFlag(argument) || TakeOptionWithValue(argument);
    }

    bool TakePath(const std::string &argument)
    {
        if (_hasVolume) {
            _options.paths.push_back(argument);
            return true;
        }
        _hasVolume = true;
        _options.volume = argument;
        return !argument.empty() || Fail("VOLUME is empty");
    }

    bool TakeFlag(const std::string &argument)
    {
        if (argument == "--help" || argument == "-h")
            return Finish(Options::Action::kHelp);
        if (argument == "--version")
            return Finish(Options::Action::kVersion);
        bool *flag = FlagNamed(argument);
        if (flag == nullptr)
            return false;
        *flag = true;
        return true;
    }

    bool *FlagNamed(const std::string &argument)
    {
        if (argument == "--list")
            return &_hasList;
        if (argument == "--recursive")
            return &_options.recursive;
        if (argument == "--json")
            return &_options.json;
        if (argument == "--verify")
            return &_options.verify;
        if (argument == "--verbose")
            return &_options.verbose;
        if (argument == "--no-space-check")
            return &_options.skipsSpaceCheck;
        return nullptr;
    }

    bool Finish(Options::Action action)
    {
        _options.action = action;
        _finished = true;
        return true;
    }

    bool TakeOptionWithValue(const std::string &argument)
    {
        if (argument == "--to")
            return TakeDestination();
        if (argument == "--unlock")
            return TakeUnlock();
        return Fail("unknown option " + argument);
    }

    bool TakeDestination()
    {
        if (_hasDestination)
            return Fail("--to was given twice");
        if (_next == _arguments.size())
            return Fail("--to needs the folder to export to");
        _hasDestination = true;
        _options.destination = _arguments[_next++];
        return !_options.destination.empty() || Fail("the folder after --to is empty");
    }

    bool TakeUnlock()
    {
        if (_hasUnlock)
            return Fail("--unlock was given twice");
        if (_arguments.size() - _next < 2)
            return Fail("--unlock needs a kind and a secret");
        _hasUnlock = true;
        _options.unlockKind = _arguments[_next++];
        _options.secret = _arguments[_next++];
        _options.asksSecret = _options.secret == "-";
        return true;
    }

    bool IsComplete()
    {
        if (!_hasVolume)
            return Fail("VOLUME is missing");
        if (_hasList && _hasDestination)
            return Fail("--list and --to exclude each other");
        if (!_hasList && !_hasDestination)
            return Fail("say what to do: --list, or --to and a folder");
        if (_hasDestination && (_options.recursive || _options.json))
            return Fail("--recursive and --json go with --list only");
        if (_hasList && (_options.verify || _options.verbose))
            return Fail("--verify and --verbose go with --to only");
        if (_hasList && _options.skipsSpaceCheck)
            return Fail("--no-space-check goes with --to only");
        _options.action = _hasList ? Options::Action::kList : Options::Action::kExport;
        return true;
    }

    bool Fail(const std::string &reason)
    {
        _error = reason;
        return false;
    }

    const std::vector<std::string> &_arguments;
    std::string &_error;
    Options _options;
    size_t _next = 0;
    bool _finished = false;
    bool _optionsEnded = false;
    bool _hasVolume = false;
    bool _hasList = false;
    bool _hasDestination = false;
    bool _hasUnlock = false;
};

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::string> &arguments, std::string *error)
{
    return Parser(arguments, error).Run();
}

}  // namespace vx
