#include "ContainerKind.h"

#include "ByteReader.h"
#include "EwfImage.h"
#include "FirstSector.h"
#include "LostMark.h"
#include "QcowHeader.h"
#include "VdiImage.h"
#include "VhdImage.h"
#include "VhdxHeader.h"
#include "VmdkHeader.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vx {
namespace {

constexpr size_t kProbeBytes = 512;

std::vector<uint8_t> HeadOf(const ByteSource &file)
{
    std::vector<uint8_t> head(static_cast<size_t>(std::min<uint64_t>(file.Size(), kProbeBytes)));
    if (file.ReadAt(0, head.data(), head.size()))
        head.clear();
    return head;
}

// Also a text whose first line is damaged.
bool IsVmdk(ByteView head)
{
    const std::string_view text(reinterpret_cast<const char *>(head.data), head.size);
    const bool hasLines =
        text.find("\nCID=") != text.npos && text.find("\ncreateType=") != text.npos;
    return IsVmdkThatGrows(head) || ByteReader(head).TakeMark("# Disk DescriptorFile") || hasLines;
}

// The format that the end of the name promises; null for none. The files of the parts of a flat
// VMDK image are raw.
const char *FormatNamed(const std::string &path)
{
    constexpr std::pair<std::string_view, const char *> kFormats[] = {
        {".vmdk", "VMDK"}, {".qcow2", "QCOW2"}, {".vdi", "VDI"},
        {".vhd", "VHD"},   {".vhdx", "VHDX"},   {".e01", "E01"},
    };
    std::string name = path.substr(path.rfind('/') + 1);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    const auto endsWith = [&name](std::string_view end) {
        return name.size() >= end.size() &&
               name.compare(name.size() - end.size(), end.size(), end) == 0;
    };
    for (const auto &[end, format] : kFormats) {
        if (endsWith(end))
            return endsWith("-flat.vmdk") ? nullptr : format;
    }
    return nullptr;
}

FoundContainer Unrecognised(const std::string &path, const ByteSource &file, ByteView head)
{
    if (const auto lost = FindLostMark(file, head))
        return {lost->kind, nullptr, {}, lost};
    auto parts = PartNames::OfRaw(path);
    const bool isSplit = parts && parts->Given() == 1 && parts->ExistsBeyond(1);
    const char *named = isSplit || EndsAsBootSector(head) ? nullptr : FormatNamed(path);
    return {isSplit ? ContainerKind::kSplit : ContainerKind::kRaw,
            nullptr,
            std::move(parts),
            {},
            named};
}

}  // namespace

FoundContainer FindContainerKind(const std::string &path, const ByteSource &file)
{
    const std::vector<uint8_t> head = HeadOf(file);
    const bool isBootSector = EndsAsBootSector(head);
    if (!isBootSector && IsQcow(head))
        return {ContainerKind::kQcow};
    if (!isBootSector && IsVdiImage(head))
        return {ContainerKind::kVdi};
    if (IsVhdxImage(file))
        return {ContainerKind::kVhdx};
    const KnownContents *unsupported =
        isBootSector ? nullptr : KnownContents::FindContainer(file, head);
    if (unsupported != nullptr)
        return {ContainerKind::kUnsupported, unsupported};
    if (IsEwfImage(head))
        return {ContainerKind::kEwf};
    if (IsVhdImage(file))
        return {ContainerKind::kVhd, nullptr, {}, FindLostVhdMark(file)};
    if (IsVmdk(head))
        return {ContainerKind::kVmdk};
    return Unrecognised(path, file, head);
}

}  // namespace vx
