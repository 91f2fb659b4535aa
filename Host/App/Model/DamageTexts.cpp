// How a list of damage is worded.
#include "DamageList.h"
#include "TerminalText.h"
#include "VolumeReport.h"

namespace vx {
namespace {

const char *ReasonOf(VolumeObstacle obstacle)
{
    switch (obstacle) {
    case VolumeObstacle::kDamaged:
        return "its records are damaged";
    case VolumeObstacle::kUnreadable:
        return "the disk could not read it";
    case VolumeObstacle::kDeviceGone:
        return "the disk went away";
    case VolumeObstacle::kNoPermission:
        return "no permission";
    case VolumeObstacle::kNotThere:
        return "it is no longer there";
    case VolumeObstacle::kOutOfMemory:
        return "not enough memory";
    case VolumeObstacle::kEncryptedFile:
        return "encrypted by Windows on its own";
    case VolumeObstacle::kOnlyInCloud:
        return "only in the cloud";
    case VolumeObstacle::kLink:
        return "a link to elsewhere";
    case VolumeObstacle::kPacked:
    case VolumeObstacle::kDeduplicated:
    case VolumeObstacle::kUnknownReparsePoint:
        return "stored in a form that is not supported";
    case VolumeObstacle::kSameName:
        return "another entry has the same name";
    case VolumeObstacle::kNone:
        break;
    }
    return "";
}

const char *EventOf(ChannelDamageKind kind)
{
    switch (kind) {
    case ChannelDamageKind::kFileData:
        return "Missing bytes are zeros";
    case ChannelDamageKind::kFileClosed:
        return "Could not be opened";
    case ChannelDamageKind::kFolder:
        return "Entries are missing";
    case ChannelDamageKind::kDiskGone:
        return "The disk went away";
    }
    return "Damaged";
}

void AppendRow(const ChannelDamage &row, const Wording &wording, std::string *text)
{
    *text += (row.path.empty() ? "-" : TerminalText(row.path)) + "\t" + DamageAmount(row, wording) +
             "\t" + DamageReason(row, wording) + "\n";
    for (const ByteRange &range : row.ranges)
        *text += "\t" +
                 wording.Text("{1} bytes from byte {2} on",
                              {std::to_string(range.length), std::to_string(range.offset)}) +
                 "\n";
    if (row.kind == ChannelDamageKind::kFileData && row.more > 0)
        *text += "\t" + wording.Text("further ranges: {1}", {std::to_string(row.more)}) + "\n";
}

}  // namespace

std::string DamageAmount(const ChannelDamage &row, const Wording &wording)
{
    if (row.kind == ChannelDamageKind::kFolder && row.more > 0)
        return wording.Text("entries: {1}", {std::to_string(row.more)});
    if (row.kind != ChannelDamageKind::kFileData)
        return "";
    const std::string size = wording.size(BytesIn(row.ranges));
    return row.more > 0 ? wording.Text("more than {1}", {size}) : size;
}

std::string DamageReason(const ChannelDamage &row, const Wording &wording)
{
    std::string event = wording.Text(EventOf(row.kind));
    const std::string reason = ReasonOf(static_cast<VolumeObstacle>(row.obstacle));
    if (reason.empty() || row.kind == ChannelDamageKind::kDiskGone)
        return event;
    return wording.Text("{1}: {2}", {event, wording.Text(reason)});
}

std::vector<std::string> DamageRemarks(const DamageList &list, const Wording &wording)
{
    std::vector<std::string> remarks = list.Warnings();
    if (!remarks.empty())
        remarks.insert(remarks.begin(), wording.Text("Noticed when the volume was opened:"));
    if (list.RowsLeftOut() > 0)
        remarks.push_back(wording.Text("Reports that are not in this list: {1}",
                                       {std::to_string(list.RowsLeftOut())}));
    if (list.Lost() > 0)
        remarks.push_back(
            wording.Text("Reports that were lost: {1}", {std::to_string(list.Lost())}));
    if (list.HasLostUncounted())
        remarks.push_back(wording.Text("Reports were lost, nobody knows how many."));
    return remarks;
}

std::string DamageFile(const DamageList &list, const std::string &volume, const Wording &wording)
{
    std::string text = wording.Text("Not read in full: {1}", {TerminalText(volume)}) + "\n\n";
    for (const std::string &remark : DamageRemarks(list, wording))
        text += TerminalText(remark) + "\n";
    for (const ChannelDamage &row : list.Rows())
        AppendRow(row, wording, &text);
    return text;
}

}  // namespace vx
