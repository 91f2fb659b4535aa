#include "ContainerKind.h"

#include "ByteReader.h"
#include "QcowHeader.h"
#include "VdiImage.h"
#include "VhdImage.h"
#include "VhdxHeader.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vx {
namespace {

using namespace std::string_view_literals;

constexpr size_t kProbeBytes = 512;

std::vector<uint8_t> HeadOf(const ByteSource &file)
{
    std::vector<uint8_t> head(static_cast<size_t>(std::min<uint64_t>(file.Size(), kProbeBytes)));
    if (file.ReadAt(0, head.data(), head.size()))
        head.clear();
    return head;
}

bool IsBootSector(ByteView head)
{
    constexpr size_t kMarkAt = 510;
    constexpr uint16_t kMark = 0xAA55;
    return U16At(head, kMarkAt) == kMark;
}

bool IsEwf(ByteView head)
{
    return ByteReader(head).TakeMark("EVF\x09\x0D\x0A\xFF\x00"sv);
}

bool IsVmdk(ByteView head)
{
    return ByteReader(head).TakeMark("KDMV") || ByteReader(head).TakeMark("# Disk DescriptorFile");
}

}  // namespace

FoundContainer FindContainerKind(const std::string &path, const ByteSource &file)
{
    const std::vector<uint8_t> head = HeadOf(file);
    const bool isBootSector = IsBootSector(head);
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
    if (IsEwf(head))
        return {ContainerKind::kEwf};
    if (IsVhdImage(file))
        return {ContainerKind::kVhd};
    if (IsVmdk(head))
        return {ContainerKind::kVmdk};
    auto parts = PartNames::OfRaw(path);
    const bool isSplit = parts && parts->Given() == 1 && parts->ExistsBeyond(1);
    return {isSplit ? ContainerKind::kSplit : ContainerKind::kRaw, nullptr, std::move(parts)};
}

}  // namespace vx
