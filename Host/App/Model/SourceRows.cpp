#include "SourceRows.h"

#include "LineText.h"
#include "PathText.h"

namespace vx {
namespace {

std::string NameOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos || slash + 1 == path.size() ? path : path.substr(slash + 1);
}

// What the user knows it by; the path's last part if it has no name.
std::string TitleOf(const AttachedVolume &volume)
{
    if (!volume.label.empty())
        return volume.label;
    if (volume.disk.empty() && !volume.diskName.empty())
        return volume.diskName;
    return LineText(NameOf(volume.path));
}

SourceRow RowOf(const AttachedVolume &volume, const Wording &wording)
{
    SourceRow row;
    row.kind = volume.disk.empty() ? SourceRowKind::kDisk : SourceRowKind::kVolume;
    row.path = volume.path;
    row.title = TitleOf(volume);
    row.detail = LineText(volume.path);
    if (volume.bytes > 0)
        row.detail += " · " + wording.size(volume.bytes);
    row.isEncrypted = volume.isEncrypted;
    return row;
}

SourceRow PlainRow(SourceRowKind kind, const std::string &title)
{
    SourceRow row;
    row.kind = kind;
    row.title = title;
    return row;
}

}  // namespace

std::vector<SourceRow> SourceRows(const std::vector<AttachedVolume> &attached,
                                  const std::vector<RecentVolume> &images, const Wording &wording)
{
    std::vector<SourceRow> rows = {PlainRow(SourceRowKind::kHeading, wording.Text("Disks"))};
    for (const AttachedVolume &volume : attached)
        rows.push_back(RowOf(volume, wording));
    if (attached.empty())
        rows.push_back(PlainRow(SourceRowKind::kNote, wording.Text("No disk is attached.")));
    if (images.empty())
        return rows;
    rows.push_back(PlainRow(SourceRowKind::kHeading, wording.Text("Recent Images")));
    for (const RecentVolume &image : images)
        rows.push_back({SourceRowKind::kImage, image.path, LineText(NameOf(image.path)),
                        LineText(FolderOf(image.path)), false, image.isMissing});
    return rows;
}

std::optional<size_t> RowOfPath(const std::string &path, const std::vector<SourceRow> &rows)
{
    for (size_t i = 0; i < rows.size(); ++i) {
        if (!path.empty() && rows[i].path == path)
            return i;
    }
    return std::nullopt;
}

}  // namespace vx
