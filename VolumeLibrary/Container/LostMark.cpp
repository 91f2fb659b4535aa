#include "LostMark.h"

#include "EwfImage.h"
#include "FirstSector.h"
#include "QcowHeader.h"
#include "VdiImage.h"
#include "VhdImage.h"
#include "VmdkHeader.h"

#include <algorithm>

namespace vx {

std::optional<LostMark> FindLostVhdMark(const ByteSource &file)
{
    const auto place = PlaceOfLostVhdMark(file);
    return place ? std::optional(LostMark{ContainerKind::kVhd, *place, kVhdMark, "VHD"})
                 : std::nullopt;
}

std::optional<LostMark> FindLostMark(const ByteSource &file, ByteView head)
{
    if (const auto lost = FindLostVhdMark(file))
        return lost;
    if (EndsAsBootSector(head))
        return std::nullopt;
    if (IsEwfBesideItsMark(head))
        return LostMark{ContainerKind::kEwf, 0, kEwfMark, "E01"};
    if (IsVmdkBesideItsMark(head))
        return LostMark{ContainerKind::kVmdk, 0, kVmdkMark, "VMDK"};
    if (IsQcowBesideItsMark(head))
        return LostMark{ContainerKind::kQcow, 0, kQcowMark, "QCOW2"};
    if (IsVdiBesideItsMark(head))
        return LostMark{ContainerKind::kVdi, kVdiMarkAt, kVdiMark, "VDI"};
    return std::nullopt;
}

Error MarkedSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = _file->ReadAt(offset, buffer, count))
        return error;
    const uint64_t begin = std::max(offset, _mark.at);
    const uint64_t end = std::min(offset + count, _mark.at + _mark.bytes.size());
    if (begin < end)
        std::copy_n(_mark.bytes.begin() + static_cast<ptrdiff_t>(begin - _mark.at), end - begin,
                    static_cast<char *>(buffer) + (begin - offset));
    return {};
}

}  // namespace vx
