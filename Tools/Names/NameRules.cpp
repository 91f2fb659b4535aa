// Source of the names of devices: Microsoft Learn, "Naming Files, Paths, and Namespaces".
#include "NameRules.h"

#include "CodePoints.h"

#include <algorithm>
#include <array>

namespace vx {
namespace {

constexpr char kSubstitute = '_';

// Of one UTF-16 unit in UTF-8.
constexpr size_t kMostBytesOfUnit = 3;

constexpr std::array<std::string_view, 6> kDevices = {"con", "prn",    "aux",
                                                      "nul", "conin$", "conout$"};
// With a digit from 1 to 9.
constexpr std::array<std::string_view, 2> kNumberedDevices = {"com", "lpt"};

template <typename Names>
bool Holds(const Names &names, std::string_view name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string Lowered(std::string text)
{
    for (char &byte : text)
        byte = byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    return text;
}

// Where the name of a device ends, if the name begins with one; 0 otherwise.
size_t EndOfDevice(const std::string &name)
{
    std::string stem = Lowered(name.substr(0, name.find('.')));
    stem.resize(stem.find_last_not_of(' ') + 1);
    const bool isNumbered = stem.size() == 4 && stem.back() >= '1' && stem.back() <= '9' &&
                            Holds(kNumberedDevices, std::string_view(stem).substr(0, 3));
    return isNumbered || Holds(kDevices, stem) ? stem.size() : 0;
}

size_t UnitsOf(std::string_view text)
{
    size_t units = 0;
    while (!text.empty())
        units += UnitCount(TakeCharacter(&text));
    return units;
}

}  // namespace

bool IsPlainName(std::u16string_view name, const DestinationTraits &traits)
{
    return !name.empty() && name.size() * kMostBytesOfUnit <= traits.longestName &&
           traits.refused.empty() && !traits.refusesDevices && name.back() != u'.' &&
           name.back() != u' ' && name.find_first_of(u"\\/") == std::u16string_view::npos;
}

bool Fits(const std::string &name, const DestinationTraits &traits)
{
    return name.size() <= traits.longestName ||
           (traits.longestUnits > 0 && UnitsOf(name) <= traits.longestUnits);
}

std::string AllowedName(const std::string &name, const DestinationTraits &traits)
{
    std::string allowed = name;
    for (char &byte : allowed) {
        if (traits.refused.find(byte) != std::string::npos)
            byte = kSubstitute;
    }
    const bool endsBadly = allowed.back() == '.' || allowed.back() == ' ';
    if (endsBadly && (traits.refusesEnds || traits.dropsEnds))
        allowed.back() = kSubstitute;
    const size_t device = traits.refusesDevices ? EndOfDevice(allowed) : 0;
    return device == 0 ? allowed : allowed.insert(device, 1, kSubstitute);
}

}  // namespace vx
