#include "FolderNames.h"

#include "LocalText.h"
#include "NameForms.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace vx {
namespace {

// Stands for a name that consists of separators alone.
constexpr char kPlaceholder[] = "_";
// In front of the number of a name that was cut.
constexpr char kNumberMark = '~';
// Of one UTF-16 unit in UTF-8.
constexpr size_t kMostBytesOfUnit = 3;

// A cut name has a number from 1; the placeholder has one only if there is more than one of it.
std::string Numbered(const std::string &name, unsigned number, size_t longest)
{
    const bool isWhole = name.size() <= longest;
    const unsigned shown = isWhole ? number - 1 : number;
    const std::string mark = shown == 0 ? "" : kNumberMark + std::to_string(shown);
    return MarkedName(name, mark, longest);
}

bool IsShortAndWhole(std::u16string_view name, size_t longest)
{
    return !name.empty() && name.size() * kMostBytesOfUnit <= longest &&
           name.find_first_of(u"\\/.") == std::u16string_view::npos;
}

bool LeadsUp(const std::vector<std::string> &parts)
{
    return std::find(parts.begin(), parts.end(), "..") != parts.end();
}

}  // namespace

void FolderNames::Choose(Names *names)
{
    Names changing;
    std::vector<Number> order;
    for (Number i = 0; i < _folder.children; ++i) {
        if (MustChange(_folder.firstChild + i)) {
            order.push_back(_folder.firstChild + i);
            changing.emplace(order.back(), "");
        }
    }
    if (order.empty())
        return;
    NoteKeptNames(changing);
    for (const Number number : order)
        names->emplace(number, PathFor(number));
}

// A name that leads nowhere is left alone.
bool FolderNames::MustChange(Number number) const
{
    const std::u16string_view name = _plan.NameOf(number);
    std::string text;
    if (IsShortAndWhole(name, _longest) || !LocalTextOf(name, &text))
        return false;
    const std::vector<std::string> parts = PartsOf(text);
    return !LeadsUp(parts) &&
           (parts.empty() || std::any_of(parts.begin(), parts.end(), [this](const auto &part) {
                return part.size() > _longest;
            }));
}

void FolderNames::NoteKeptNames(const Names &changing)
{
    std::string text;
    for (Number i = 0; i < _folder.children; ++i) {
        const Number number = _folder.firstChild + i;
        if (changing.count(number) == 0 && LocalTextOf(_plan.NameOf(number), &text))
            _taken.insert("/" + text);
    }
}

std::string FolderNames::PathFor(Number number)
{
    std::string text;
    LocalTextOf(_plan.NameOf(number), &text);
    std::vector<std::string> parts = PartsOf(text);
    if (parts.empty())
        return NameFor("/", kPlaceholder, text);
    std::string path;
    for (const std::string &part : parts) {
        const std::string place = path + "/";
        path = place + (part.size() <= _longest ? part : NameFor(place, part, part));
    }
    return path.substr(1);
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
    unsigned &number = _numbers[place + MarkedName(name, "", _longest / 2)];
    while (true) {
        std::string candidate = Numbered(name, ++number, _longest);
        if (_taken.insert(place + candidate).second)
            return candidate;
    }
}

}  // namespace vx
