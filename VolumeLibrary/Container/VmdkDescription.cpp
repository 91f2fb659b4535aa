#include "VmdkDescription.h"

#include <algorithm>
#include <optional>
#include <sstream>

namespace vx {
namespace {

Error Damaged()
{
    return {Status::kDamagedContainer, "the text of the VMDK image is damaged"};
}

std::string Quoted(const std::string &line)
{
    const size_t begin = line.find('"');
    const size_t end = line.rfind('"');
    return begin == end ? "" : line.substr(begin + 1, end - begin - 1);
}

// The value of a line like: parentCID=ffffffff
std::optional<std::string> ValueOf(const std::string &line, const std::string &key)
{
    const size_t sign = line.find('=');
    if (sign == std::string::npos)
        return std::nullopt;
    std::string found;
    std::istringstream(line.substr(0, sign)) >> found;
    if (found != key)
        return std::nullopt;
    std::string value;
    std::istringstream(line.substr(sign + 1)) >> value;
    return value;
}

bool IsExtent(const std::string &line)
{
    std::string access;
    std::istringstream(line) >> access;
    return access == "RW" || access == "RDONLY" || access == "NOACCESS";
}

Error SetKind(const std::string &kind, VmdkExtent *extent)
{
    if (kind == "FLAT" || kind == "VMFS")
        extent->kind = VmdkExtent::Kind::kFlat;
    else if (kind == "SPARSE")
        extent->kind = VmdkExtent::Kind::kGrowing;
    else if (kind == "ZERO")
        extent->kind = VmdkExtent::Kind::kZeros;
    else
        return {Status::kUnsupportedContainer,
                "it is a VMDK image with a part of the kind " + ShownName(kind)};
    return {};
}

Error ParseExtent(const std::string &line, VmdkExtent *extent)
{
    std::istringstream words(line);
    std::string access;
    std::string kind;
    if (!(words >> access >> extent->sectors >> kind))
        return Damaged();
    if (access == "NOACCESS")
        return {Status::kUnsupportedContainer,
                "it is a VMDK image with a part that may not be read (NOACCESS)"};
    if (Error error = SetKind(kind, extent))
        return error;
    extent->name = Quoted(line);
    if (extent->kind != VmdkExtent::Kind::kZeros && extent->name.empty())
        return Damaged();
    if (extent->kind == VmdkExtent::Kind::kFlat)
        std::istringstream(line.substr(line.rfind('"') + 1)) >> extent->first;
    const bool isTooLarge = extent->sectors > VmdkDescription::kMostSectors ||
                            extent->first > VmdkDescription::kMostSectors;
    return isTooLarge ? Damaged() : Error{};
}

Error IsSnapshot(const std::string &parent)
{
    return {Status::kUnsupportedContainer, "it is a VMDK snapshot; its parent is " +
                                               (parent.empty() ? "not named" : ShownName(parent)) +
                                               ", and both must be merged into one image first"};
}

}  // namespace

Error VmdkDescription::Parse(const std::string &text, VmdkDescription *description)
{
    constexpr const char *kNoParent = "ffffffff";
    std::string parent;
    bool isSnapshot = false;
    uint64_t sectors = 0;
    std::istringstream lines(text.substr(0, text.find('\0')));
    for (std::string line; std::getline(lines, line);) {
        if (const auto value = ValueOf(line, "parentCID"))
            isSnapshot = *value != kNoParent && *value != "FFFFFFFF";
        if (ValueOf(line, "parentFileNameHint"))
            parent = Quoted(line);
        if (!IsExtent(line))
            continue;
        VmdkExtent extent;
        if (Error error = ParseExtent(line, &extent))
            return error;
        sectors += extent.sectors;
        if (sectors > kMostSectors || description->extents.size() == kMostExtents)
            return Damaged();
        description->extents.push_back(std::move(extent));
    }
    return isSnapshot ? IsSnapshot(parent) : Error{};
}

std::string ShownName(std::string name)
{
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return name;
}

}  // namespace vx
