#include "VolumePath.h"

#include "NameMapping.h"

namespace vx {
namespace {

constexpr std::u16string_view kPatternEnd = u"/*";

// The units before the zero, or nothing if the text is null or too long.
std::optional<std::u16string_view> BoundedUnits(const char16_t *text)
{
    if (text == nullptr)
        return std::nullopt;
    for (size_t length = 0; length <= VolumePath::kMaxUnits; ++length) {
        if (text[length] == 0)
            return std::u16string_view(text, length);
    }
    return std::nullopt;
}

bool IsPlainComponent(std::string_view component)
{
    return !component.empty() && component != "." && component != "..";
}

bool HasPlainComponents(std::string_view relative)
{
    for (size_t slash = relative.find('/'); slash != relative.npos; slash = relative.find('/')) {
        if (!IsPlainComponent(relative.substr(0, slash)))
            return false;
        relative.remove_prefix(slash + 1);
    }
    return IsPlainComponent(relative);
}

}  // namespace

std::optional<VolumePath> VolumePath::FromFile(const char16_t *path)
{
    const auto units = BoundedUnits(path);
    return units ? FromUnits(*units) : std::nullopt;
}

std::optional<VolumePath> VolumePath::FromPattern(const char16_t *pattern)
{
    auto units = BoundedUnits(pattern);
    if (!units || units->size() < kPatternEnd.size())
        return std::nullopt;
    const size_t length = units->size() - kPatternEnd.size();
    if (units->substr(length) != kPatternEnd)
        return std::nullopt;
    return length == 0 ? VolumePath(std::string()) : FromUnits(units->substr(0, length));
}

std::optional<VolumePath> VolumePath::FromUnits(std::u16string_view units)
{
    if (units.empty() || units.front() != u'/')
        return std::nullopt;
    units.remove_prefix(1);
    std::string relative;
    relative.reserve(units.size());
    if (!AppendNameBytes(units.data(), units.size(), &relative) || !HasPlainComponents(relative))
        return std::nullopt;
    return VolumePath(std::move(relative));
}

std::string ParentOfRelative(const std::string &relative)
{
    const size_t slash = relative.rfind('/');
    return slash == relative.npos ? std::string() : relative.substr(0, slash);
}

std::string NameOfRelative(const std::string &relative)
{
    return relative.substr(relative.rfind('/') + 1);
}

std::string JoinRelative(const std::string &folder, const char *name)
{
    return folder.empty() ? name : folder + '/' + name;
}

}  // namespace vx
