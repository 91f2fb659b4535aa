#include "MountOptions.h"

#include "TypedSecret.h"

namespace vx {
namespace {

enum OwnOption { kBackground, kAllowOther };
const std::vector<OptionName> kOwnOptions = {{"background", nullptr}, {"allow-other", nullptr}};

bool TakeWords(const std::vector<std::string> &words, MountOptions *options, std::string *error)
{
    if (words.empty())
        *error = "a volume is missing";
    else if (words.size() == 1)
        *error = "a folder to mount on is missing";
    else if (words.size() > 2)
        *error = "there is one argument too many: " + words[2];
    if (!error->empty())
        return false;
    options->volume = words[0];
    options->folder = words[1];
    return true;
}

}  // namespace

std::optional<MountOptions> ParseMountOptions(const std::vector<std::string> &arguments,
                                              std::string *error)
{
    ArgumentReader reader(arguments, kOwnOptions);
    MountOptions options;
    std::vector<std::string> words;
    int found = reader.Next();
    for (; found >= ArgumentReader::kWord; found = reader.Next()) {
        if (found == ArgumentReader::kWord)
            words.push_back(reader.Value());
        else if (found == ArgumentReader::kOwnOption + kBackground)
            options.background = true;
        else
            options.allowOther = true;
    }
    if (found == ArgumentReader::kHelp || found == ArgumentReader::kVersion) {
        options.action = found == ArgumentReader::kHelp ? MountOptions::Action::kHelp
                                                        : MountOptions::Action::kVersion;
        return options;
    }
    *error = reader.Error();
    if (!error->empty() || !TakeWords(words, &options, error))
        return std::nullopt;
    options.unlocking = reader.Unlock();
    return options;
}

}  // namespace vx
