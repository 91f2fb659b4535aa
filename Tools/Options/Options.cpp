#include "Options.h"

#include "ArgumentReader.h"
#include "TypedSecret.h"

#include <cstddef>

namespace vx {
namespace {

enum OwnOption { kList, kRecursive, kJson, kTo, kVerify, kVerbose, kNoSpaceCheck };

const std::vector<OptionName> kOwnOptions = {
    {"list", nullptr},           {"recursive", nullptr},
    {"json", nullptr},           {"to", "the folder to export to"},
    {"verify", nullptr},         {"verbose", nullptr},
    {"no-space-check", nullptr},
};

class Parser {
public:
    Parser(const std::vector<std::string> &arguments, std::string *error)
        : _reader(arguments, kOwnOptions), _error(*error)
    {
    }

    ~Parser() { WipeText(&_options.secret); }
    Parser(const Parser &) = delete;
    Parser &operator=(const Parser &) = delete;

    std::optional<Options> Run()
    {
        int found = _reader.Next();
        for (; found >= ArgumentReader::kWord; found = _reader.Next()) {
            if (!(found == ArgumentReader::kWord ? TakeWord() : TakeOption(found)))
                return std::nullopt;
        }
        if (found == ArgumentReader::kError)
            return Fail(_reader.Error()), std::nullopt;
        if (found != ArgumentReader::kEnd)
            _options.action =
                found == ArgumentReader::kHelp ? Options::Action::kHelp : Options::Action::kVersion;
        else if (!IsComplete())
            return std::nullopt;
        return _options;
    }

private:
    bool TakeWord()
    {
        if (_hasVolume) {
            _options.paths.push_back(_reader.Value());
            return true;
        }
        _hasVolume = true;
        _options.volume = _reader.Value();
        return !_options.volume.empty() || Fail("VOLUME is empty");
    }

    bool TakeOption(int found)
    {
        switch (found - ArgumentReader::kOwnOption) {
        case kList:
            return _hasList = true;
        case kRecursive:
            return _options.recursive = true;
        case kJson:
            return _options.json = true;
        case kVerify:
            return _options.verify = true;
        case kVerbose:
            return _options.verbose = true;
        case kNoSpaceCheck:
            return _options.skipsSpaceCheck = true;
        default:
            return TakeDestination();
        }
    }

    bool TakeDestination()
    {
        if (_hasDestination)
            return Fail("--to was given twice");
        _hasDestination = true;
        _options.destination = _reader.Value();
        return !_options.destination.empty() || Fail("the folder after --to is empty");
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
        _options.unlockKind = _reader.Unlock().kind;
        _options.secret = _reader.Unlock().secret;
        _options.asksSecret = _reader.Unlock().asksSecret;
        return true;
    }

    bool Fail(const std::string &reason)
    {
        _error = reason;
        return false;
    }

    ArgumentReader _reader;
    std::string &_error;
    Options _options;
    bool _hasVolume = false;
    bool _hasList = false;
    bool _hasDestination = false;
};

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::string> &arguments, std::string *error)
{
    return Parser(arguments, error).Run();
}

}  // namespace vx
