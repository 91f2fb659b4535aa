#include "Options.h"

#include "ArgumentReader.h"
#include "IsoTimeReader.h"
#include "OptionValues.h"
#include "PathText.h"
#include "TypedSecret.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace vx {
namespace {

constexpr uint32_t kMostRetries = 1000;
constexpr uint32_t kLongestWait = 3600 * 1000;  // milliseconds

// What an option goes with: bits for --list, --to and --raw, one of which is given.
constexpr unsigned kWithList = 1;
constexpr unsigned kWithTo = 2;
constexpr unsigned kWithRaw = 4;
constexpr unsigned kWithFiles = kWithList | kWithTo;
constexpr unsigned kWithExports = kWithTo | kWithRaw;
constexpr unsigned kWithAll = kWithFiles | kWithRaw;

enum OwnOption : size_t {
    kList,
    kTo,
    kRaw,
    kRecursive,
    kJson,
    kInclude,
    kExclude,
    kMinSize,
    kMaxSize,
    kNewer,
    kOlder,
    kMap,
    kRetries,
    kSkipSlow,
    kStreams,
    kNoTimes,
    kNoEmptyFolders,
    kManifest,
    kReport,
    kVerify,
    kResume,
    kSync,
    kDryRun,
    kWriteMap,
    kVerbose,
    kNoSpaceCheck,
    kOwnOptions
};

constexpr char kSizeForm[] = "a size such as 4096, 10K, 4M or 2G";
constexpr char kTimeForm[] = "a time such as 2019-03-02, 2019-03-02T10:00 or 2019-03-02T10:00:00Z";

// An option without flag and text has a value that is not taken as it is.
struct OptionForm {
    const char *name;
    const char *value;  // what it needs; null if it takes no value
    unsigned scope;
    bool Options::*flag = nullptr;
    std::string Options::*text = nullptr;
};

// In the order of OwnOption.
constexpr OptionForm kForms[] = {
    {"list", nullptr, kWithList},
    {"to", "the folder to export to", kWithTo, nullptr, &Options::destination},
    {"raw", "a file to write", kWithRaw, nullptr, &Options::raw},
    {"recursive", nullptr, kWithList, &Options::recursive},
    {"json", nullptr, kWithList, &Options::json},
    {"include", "a pattern", kWithFiles},
    {"exclude", "a pattern", kWithFiles},
    {"min-size", kSizeForm, kWithFiles},
    {"max-size", kSizeForm, kWithFiles},
    {"newer", kTimeForm, kWithFiles},
    {"older", kTimeForm, kWithFiles},
    {"map", "a map file", kWithAll, nullptr, &Options::map},
    {"retries", "a number up to 1000", kWithAll},
    {"skip-slow", "a number of seconds up to 3600, such as 5 or 0.5", kWithAll},
    {"streams", nullptr, kWithTo, &Options::streams},
    {"no-times", nullptr, kWithTo, &Options::noTimes},
    {"no-empty-folders", nullptr, kWithTo, &Options::noEmptyFolders},
    {"manifest", "a file to write", kWithExports, nullptr, &Options::manifest},
    {"report", "a file to write", kWithExports, nullptr, &Options::report},
    {"verify", nullptr, kWithExports, &Options::verify},
    {"resume", nullptr, kWithTo, &Options::resume},
    {"sync", nullptr, kWithExports, &Options::sync},
    {"dry-run", nullptr, kWithExports, &Options::dryRun},
    {"write-map", "a file to write", kWithExports, nullptr, &Options::writeMap},
    {"verbose", nullptr, kWithExports, &Options::verbose},
    {"no-space-check", nullptr, kWithExports, &Options::skipsSpaceCheck},
};
static_assert(std::size(kForms) == kOwnOptions, "every option has its form");

std::vector<OptionName> OptionNames()
{
    std::vector<OptionName> names;
    for (const OptionForm &form : kForms)
        names.push_back({form.name, form.value});
    return names;
}

class Parser {
public:
    Parser(const std::vector<std::string> &arguments, std::string *error)
        : _reader(arguments, OptionNames()), _error(*error)
    {
    }

    ~Parser() { WipeText(&_options.unlocking.secret); }
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
        const auto option = static_cast<OwnOption>(found - ArgumentReader::kOwnOption);
        const OptionForm &form = kForms[option];
        const bool isRule = option == kInclude || option == kExclude;
        if (_has[option] && form.value != nullptr && !isRule)
            return Fail(NameOf(option) + " was given twice");
        _has[option] = true;
        if (form.value == nullptr)
            return form.flag == nullptr || (_options.*form.flag = true);
        if (_reader.Value().empty())
            return Fail("the value of " + NameOf(option) + " is empty");
        if (form.text != nullptr)
            return (_options.*form.text = _reader.Value()), true;
        return isRule ? TakeRule(option == kInclude)
                      : TakeNumber(option) || Fail(NameOf(option) + " needs " + form.value);
    }

    bool TakeRule(bool includes)
    {
        _options.rules.push_back({includes, _reader.Value()});
        return true;
    }

    bool TakeNumber(OwnOption option)
    {
        const std::string &value = _reader.Value();
        switch (option) {
        case kMinSize:
            return (_options.minSize = ReadSize(value)).has_value();
        case kMaxSize:
            return (_options.maxSize = ReadSize(value)).has_value();
        case kNewer:
            return (_options.newer = ReadIsoTime(value)).has_value();
        case kOlder:
            return (_options.older = ReadIsoTime(value)).has_value();
        case kRetries:
            return (_options.retries = ReadCount(value, kMostRetries)).has_value();
        default:
            _options.skipSlow = ReadMilliseconds(value, kLongestWait);
            return _options.skipSlow.value_or(0) > 0;
        }
    }

    bool IsComplete()
    {
        if (!_hasVolume)
            return Fail("VOLUME is missing");
        if (_has[kList] + _has[kTo] + _has[kRaw] > 1)
            return Fail("--list, --to and --raw exclude each other");
        if (!_has[kList] && !_has[kTo] && !_has[kRaw])
            return Fail("say what to do: --list, --to and a folder, or --raw and a file");
        if (_options.raw == "-")
            return Fail("--raw writes no pipe: give a file; ./- for one of this name");
        if (!FitsAction() || !IsChoicePossible() || !AreFilesDifferent() || !CanResume())
            return false;
        _options.action = _has[kList] ? Options::Action::kList : Options::Action::kExport;
        if (_options.IsRaw()) {
            _options.destination = FolderOf(_options.raw);
            // The volume itself has no dates.
            _options.noTimes = _options.noEmptyFolders = true;
        }
        _options.unlocking = _reader.Unlock();
        _options.keyPaths = _options.unlocking.KeyPaths(_options.unlocking.secret.c_str());
        return true;
    }

    bool FitsAction()
    {
        const unsigned action = _has[kList] ? kWithList : _has[kTo] ? kWithTo : kWithRaw;
        for (size_t option = 0; option < kOwnOptions; ++option) {
            if (_has[option] && (kForms[option].scope & action) == 0)
                return Fail(NameOf(option) + " goes with " + ActionsOf(kForms[option].scope) +
                            " only");
        }
        return action != kWithRaw || _options.paths.empty() ||
               Fail("--raw writes the whole volume: PATHs go with --list and --to only");
    }

    // "--list and --to"
    static std::string ActionsOf(unsigned scope)
    {
        std::string actions;
        for (const OwnOption action : {kList, kTo, kRaw}) {
            if ((kForms[action].scope & scope) != 0)
                actions += (actions.empty() ? "" : " and ") + NameOf(action);
        }
        return actions;
    }

    bool IsChoicePossible()
    {
        if (_options.minSize && _options.maxSize && *_options.minSize > *_options.maxSize)
            return Fail("no file can be as large as --min-size and as small as --max-size");
        if (_options.newer && _options.older && *_options.newer >= *_options.older)
            return Fail("no file can be as new as --newer and older than --older");
        return true;
    }

    // Of two files under one path the second would take the first one's place.
    bool AreFilesDifferent()
    {
        constexpr OwnOption kFiles[] = {kMap, kWriteMap, kManifest, kReport, kRaw};
        for (const OwnOption *second = kFiles + 1; second != std::end(kFiles); ++second) {
            const auto isSame = [&](OwnOption first) {
                return _has[first] && TextOf(first) == TextOf(*second);
            };
            const OwnOption *first = std::find_if(kFiles, second, isSame);
            if (first != second)
                return Fail(NameOf(*first) + " and " + NameOf(*second) + " are the same file");
        }
        return true;
    }

    bool CanResume()
    {
        const bool canCompare = !_options.noTimes || _has[kManifest];
        return !_options.resume || canCompare ||
               Fail("--resume with --no-times needs --manifest: nothing else says what is "
                    "complete");
    }

    const std::string &TextOf(OwnOption option) const { return _options.*kForms[option].text; }

    static std::string NameOf(size_t option) { return std::string("--") + kForms[option].name; }

    bool Fail(const std::string &reason)
    {
        _error = reason;
        return false;
    }

    ArgumentReader _reader;
    std::string &_error;
    Options _options;
    bool _hasVolume = false;
    std::array<bool, kOwnOptions> _has = {};
};

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::string> &arguments, std::string *error)
{
    return Parser(arguments, error).Run();
}

}  // namespace vx
