#include "InfoOptions.h"

namespace vx {
namespace {

enum OwnOption { kJson, kSearch, kShowRecoveryPassword };

class Parser {
public:
    explicit Parser(const std::vector<std::string> &arguments)
        : _reader(arguments,
                  {{"json", nullptr}, {"search", nullptr}, {"show-recovery-password", nullptr}})
    {
    }

    std::optional<InfoOptions> Parse(std::string *error)
    {
        int found = _reader.Next();
        for (; found >= Reader::kWord && error->empty(); found = _reader.Next())
            Take(found, error);
        if (!error->empty())
            return std::nullopt;
        if (found == Reader::kHelp || found == Reader::kVersion) {
            _options.action = found == Reader::kHelp ? Action::kHelp : Action::kVersion;
            return _options;
        }
        *error = found == Reader::kError ? _reader.Error() : WhatIsWrong();
        if (!error->empty())
            return std::nullopt;
        _options.opens = _reader.HasUnlock();
        _options.unlocking = _reader.Unlock();
        return _options;
    }

private:
    using Reader = ArgumentReader;
    using Action = InfoOptions::Action;

    void Take(int found, std::string *error)
    {
        if (found == Reader::kOwnOption + kJson)
            _options.json = true;
        else if (found == Reader::kOwnOption + kSearch)
            _options.action = Action::kSearch;
        else if (found == Reader::kOwnOption + kShowRecoveryPassword)
            _options.showsRecoveryPasswords = true;
        else if (_options.volume.empty())
            _options.volume = _reader.Value();
        else
            *error = "there is one argument too many: " + _reader.Value();
    }

    std::string WhatIsWrong() const
    {
        if (_options.volume.empty())
            return "a volume is missing";
        if (_options.action != Action::kSearch)
            return "";
        if (_reader.HasUnlock())
            return "--search needs no --unlock: open what it finds afterwards";
        if (_options.showsRecoveryPasswords)
            return "--show-recovery-password does not go with --search";
        return "";
    }

    ArgumentReader _reader;
    InfoOptions _options;
};

}  // namespace

std::optional<InfoOptions> ParseInfoOptions(const std::vector<std::string> &arguments,
                                            std::string *error)
{
    error->clear();
    return Parser(arguments).Parse(error);
}

}  // namespace vx
