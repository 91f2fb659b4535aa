#include "VmdkDescription.h"

#include "FileBeside.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>

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

Result<VmdkExtent::Kind> KindNamed(const std::string &word)
{
    if (word == "FLAT" || word == "VMFS")
        return VmdkExtent::Kind::kFlat;
    if (word == "SPARSE")
        return VmdkExtent::Kind::kGrowing;
    if (word == "ZERO")
        return VmdkExtent::Kind::kZeros;
    return Error{Status::kUnsupportedContainer,
                 "it is a VMDK image with a part of the kind " + ShownName(word)};
}

Result<VmdkExtent> ParseExtent(const std::string &line)
{
    VmdkExtent extent;
    std::istringstream words(line);
    std::string access;
    std::string word;
    if (!(words >> access >> extent.sectors >> word))
        return Damaged();
    if (access == "NOACCESS")
        return Error{Status::kUnsupportedContainer,
                     "it is a VMDK image with a part that may not be read (NOACCESS)"};
    const auto kind = KindNamed(word);
    if (!kind)
        return kind.Failure();
    extent.kind = *kind;
    extent.name = Quoted(line);
    if (extent.kind != VmdkExtent::Kind::kZeros && extent.name.empty())
        return Damaged();
    if (extent.kind == VmdkExtent::Kind::kFlat)
        std::istringstream(line.substr(line.rfind('"') + 1)) >> extent.first;
    if (extent.sectors > VmdkDescription::kMostSectors ||
        extent.first > VmdkDescription::kMostSectors)
        return Damaged();
    return extent;
}

Error IsSnapshot(const std::string &parent)
{
    return {Status::kUnsupportedContainer, "it is a VMDK snapshot; its parent is " +
                                               (parent.empty() ? "not named" : ShownName(parent)) +
                                               ", and both must be merged into one image first"};
}

}  // namespace

Result<VmdkDescription> VmdkDescription::Parse(const std::string &text)
{
    constexpr const char *kNoParent = "ffffffff";
    VmdkDescription description;
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
        auto extent = ParseExtent(line);
        if (!extent)
            return extent.Failure();
        sectors += extent->sectors;
        if (sectors > kMostSectors || description.extents.size() == kMostExtents)
            return Damaged();
        description.extents.push_back(std::move(*extent));
    }
    if (isSnapshot)
        return IsSnapshot(parent);
    return description;
}

}  // namespace vx
