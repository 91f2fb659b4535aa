#include "FolderNames.h"

#include "LocalText.h"
#include "NameForms.h"
#include "NameRules.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <utility>

namespace vx {
namespace {

// Stands for a name that consists of separators alone.
constexpr char kPlaceholder[] = "_";
// In front of the number of a name.
constexpr char kNumberMark = '~';

bool LeadsUp(const std::vector<std::string> &parts)
{
    return std::find(parts.begin(), parts.end(), "..") != parts.end();
}

std::string Joined(const std::vector<std::string> &parts)
{
    std::string path;
    for (const std::string &part : parts)
        path += "/" + part;
    return path;
}

}  // namespace

void FolderNames::Choose(Names *names)
{
    std::vector<Number> changing = ChangingNames();
    if (changing.empty() && !_traits.MergesNames())
        return;
    TakeKeptNames(&changing);
    for (const Number number : changing)
        names->emplace(number, PathFor(number));
}

std::vector<FolderNames::Number> FolderNames::ChangingNames() const
{
    std::vector<Number> changing;
    for (Number number = _folder.firstChild; number < _folder.firstChild + _folder.children;
         ++number) {
        if (MustChange(number))
            changing.push_back(number);
    }
    return changing;
}

// A name that leads nowhere is left alone.
bool FolderNames::MustChange(Number number) const
{
    const std::u16string_view name = _plan.NameOf(number);
    std::string text;
    if (IsPlainName(name, _traits) || !LocalTextOf(name, &text))
        return false;
    const std::vector<std::string> parts = PartsOf(text);
    return !LeadsUp(parts) &&
           (parts.empty() || !std::all_of(parts.begin(), parts.end(), [this](const auto &part) {
                return Fits(part, _traits) && AllowedName(part, _traits) == part;
            }));
}

// Of kept names that the destination merges the first is kept; the others change, too.
void FolderNames::TakeKeptNames(std::vector<Number> *changing)
{
    std::vector<std::pair<size_t, Number>> kept;
    auto next = changing->begin();
    std::string text;
    for (Number number = _folder.firstChild; number < _folder.firstChild + _folder.children;
         ++number) {
        if (next != changing->end() && *next == number)
            ++next;
        else if (!_plan.At(number).Has(PlanEntry::kIsRepeated) &&
                 LocalTextOf(_plan.NameOf(number), &text))
            kept.emplace_back(HashOf(Joined(PartsOf(text))), number);
    }
    std::sort(kept.begin(), kept.end());
    for (const auto &[hash, number] : kept) {
        if (_kept.empty() || _kept.back() != hash)
            _kept.push_back(hash);
        else
            changing->push_back(number);
    }
    std::sort(changing->begin(), changing->end());
}

// Equal hashes of different paths cost a number and nothing else.
size_t FolderNames::HashOf(const std::string &path) const
{
    return std::hash<std::string>()(_fold(_traits, path));
}

bool FolderNames::Take(const std::string &path)
{
    const size_t hash = HashOf(path);
    return !std::binary_search(_kept.begin(), _kept.end(), hash) && _given.insert(hash).second;
}

std::string FolderNames::PathFor(Number number)
{
    std::string text;
    LocalTextOf(_plan.NameOf(number), &text);
    std::vector<std::string> parts = PartsOf(text);
    if (parts.empty())
        return NameFor("/", kPlaceholder, text);
    const std::string last = std::move(parts.back());
    parts.pop_back();
    std::string place = "/";
    for (const std::string &part : parts) {
        const std::string allowed = AllowedName(part, _traits);
        place += (Fits(allowed, _traits) ? allowed : NameFor(place, allowed, part)) + "/";
    }
    return (place + NameFor(place, AllowedName(last, _traits), last)).substr(1);
}

// The same name for the same original: a cut folder can be a part of several names.
std::string FolderNames::NameFor(const std::string &place, const std::string &name,
                                 const std::string &original)
{
    std::string &chosen = _chosen[place + original];
    if (chosen.empty())
        chosen = FreeName(place, name);
    return chosen;
}

std::string FolderNames::FreeName(const std::string &place, const std::string &name)
{
    if (Fits(name, _traits) && Take(place + name))
        return name;
    const size_t longest = _traits.longestName;
    unsigned &number = _numbers[_fold(_traits, place + MarkedName(name, "", longest / 2))];
    while (true) {
        std::string candidate = MarkedName(name, kNumberMark + std::to_string(++number), longest);
        if (Take(place + candidate))
            return candidate;
    }
}

}  // namespace vx
