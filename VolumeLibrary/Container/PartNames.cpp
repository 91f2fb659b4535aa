#include "PartNames.h"

#include <algorithm>
#include <cctype>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace vx {
namespace {

constexpr size_t kMostParts = 20000;
constexpr size_t kLetters = 26;

bool IsFile(const std::string &path)
{
    struct stat found;
    return !path.empty() && stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

bool AreDigits(const std::string &text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool AreLowerLetters(const std::string &text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

std::string Digits(size_t number, size_t width)
{
    const std::string digits = std::to_string(number);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

// The number in letters; empty if it needs more than width of them.
std::string LettersOf(size_t number, size_t width, char first)
{
    std::string letters(width, first);
    for (size_t at = width; at-- > 0; number /= kLetters)
        letters[at] = static_cast<char>(first + number % kLetters);
    return number == 0 ? letters : "";
}

// The first letter continues from that of the first part: E01 to E99, EAA to EZZ, FAA to ZZZ.
std::string EwfSuffix(const std::string &given, size_t number)
{
    constexpr size_t kMostWithDigits = 99;
    if (number <= kMostWithDigits)
        return given.substr(0, 1) + Digits(number, 2);
    const char first = std::isupper(static_cast<unsigned char>(given[0])) != 0 ? 'A' : 'a';
    const auto begin = static_cast<size_t>(given[0] - first) * kLetters * kLetters;
    return LettersOf(begin + number - kMostWithDigits - 1, 3, first);
}

std::string FolderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

std::string LastOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

}  // namespace

std::optional<PartNames> PartNames::OfRaw(const std::string &path)
{
    const size_t mark = path.find_last_of("._/");
    if (mark != std::string::npos && path[mark] != '/') {
        const std::string suffix = path.substr(mark + 1);
        if (suffix.size() >= 2 && suffix.size() <= 3 && AreDigits(suffix)) {
            const std::string stem = path.substr(0, mark + 1);
            const bool fromZero = IsFile(stem + Digits(0, suffix.size()));
            PartNames names(Kind::kDigits, stem, suffix, fromZero ? 0 : 1);
            names._given = names.NumberOf(suffix);
            if (names._given > 0)
                return names;
        }
    }
    for (const size_t width : {3, 2}) {
        if (path.size() <= width)
            continue;
        const std::string suffix = path.substr(path.size() - width);
        PartNames names(Kind::kLetters, path.substr(0, path.size() - width), suffix, 0);
        if (AreLowerLetters(suffix) && IsFile(names.Path(1))) {
            names._given = names.NumberOf(suffix);
            return names;
        }
    }
    return std::nullopt;
}

std::optional<PartNames> PartNames::OfEwf(const std::string &path)
{
    constexpr size_t kSuffix = 3;
    if (path.size() <= kSuffix + 1 || path[path.size() - kSuffix - 1] != '.')
        return std::nullopt;
    std::string suffix = path.substr(path.size() - kSuffix);
    if (std::isalpha(static_cast<unsigned char>(suffix[0])) == 0)
        return std::nullopt;
    // A suffix of three letters is not accepted: its first letter need not be that of the first
    // part.
    if (!AreDigits(suffix.substr(1)))
        return std::nullopt;
    PartNames names(Kind::kEwf, path.substr(0, path.size() - kSuffix), std::move(suffix), 1);
    names._given = names.NumberOf(names._suffix);
    return names._given > 0 ? std::optional(names) : std::nullopt;
}

std::string PartNames::SuffixOf(size_t number) const
{
    switch (_kind) {
    case Kind::kDigits: {
        const std::string digits = Digits(number - 1 + _first, _suffix.size());
        return digits.size() == _suffix.size() ? digits : "";
    }
    case Kind::kLetters:
        return LettersOf(number - 1, _suffix.size(), 'a');
    case Kind::kEwf:
        break;
    }
    return EwfSuffix(_suffix, number);
}

size_t PartNames::NumberOf(const std::string &suffix) const
{
    size_t number = 0;
    if (_kind == Kind::kLetters) {
        if (!AreLowerLetters(suffix))
            return 0;
        for (const char c : suffix)
            number = number * kLetters + static_cast<size_t>(c - 'a');
        return number + 1;
    }
    const std::string digits = _kind == Kind::kEwf ? suffix.substr(1) : suffix;
    if (!AreDigits(digits))
        return 0;
    number = static_cast<size_t>(std::stoul(digits));
    return number < _first ? 0 : number + 1 - _first;
}

std::string PartNames::Path(size_t number) const
{
    const std::string suffix = SuffixOf(number);
    return suffix.empty() ? "" : _stem + suffix;
}

std::string PartNames::Name(size_t number) const
{
    return LastOf(Path(number));
}

bool PartNames::Exists(size_t number) const
{
    return IsFile(Path(number));
}

size_t PartNames::CountWithoutGap() const
{
    size_t count = 0;
    while (count < kMostParts && Exists(count + 1))
        ++count;
    return count;
}

bool PartNames::ExistsBeyond(size_t number) const
{
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(FolderOf(_stem).c_str()));
    if (folder == nullptr)
        return false;
    const std::string stem = LastOf(_stem);
    while (const dirent *entry = readdir(folder.get())) {
        const std::string name = entry->d_name;
        if (name.size() == stem.size() + _suffix.size() &&
            name.compare(0, stem.size(), stem) == 0 && NumberOf(name.substr(stem.size())) > number)
            return true;
    }
    return false;
}

}  // namespace vx
