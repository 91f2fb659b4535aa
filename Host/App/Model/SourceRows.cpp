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

// What the user knows it by; empty if it has no name.
std::string LabelOf(const AttachedVolume &volume)
{
    if (!volume.label.empty())
        return volume.label;
    if (volume.disk.empty() && !volume.diskName.empty())
        return volume.diskName;
    return "";
}

void AppendPart(const std::string &part, std::string *text)
{
    *text += (text->empty() ? "" : " · ") + part;
}

// A short line, since what is too long is cut off at its end: the whole path is shown when the row
// is chosen, and nobody looks for a right to read the system's own disk.
std::string DetailOf(const AttachedVolume &volume, const Wording &wording)
{
    std::string text = LabelOf(volume).empty() ? "" : LineText(NameOf(volume.path));
    if (volume.isSystem)
        AppendPart(wording.Text("system"), &text);
    if (volume.bytes > 0)
        AppendPart(wording.size(volume.bytes), &text);
    if (!volume.isReadable && !volume.isSystem)
        AppendPart(wording.Text("no access"), &text);
    return text;
}

SourceRow RowOf(const AttachedVolume &volume, const Wording &wording)
{
    SourceRow row;
    row.kind = volume.disk.empty() ? SourceRowKind::kDisk : SourceRowKind::kVolume;
    row.path = volume.path;
    row.title = LabelOf(volume).empty() ? LineText(volume.path) : LabelOf(volume);
    row.detail = DetailOf(volume, wording);
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

void AppendGroup(bool isRemovable, const char *heading, const std::vector<AttachedVolume> &attached,
                 const Wording &wording, std::vector<SourceRow> *rows)
{
    const size_t before = rows->size();
    for (const AttachedVolume &volume : attached) {
        if (volume.isRemovable == isRemovable)
            rows->push_back(RowOf(volume, wording));
    }
    if (rows->size() > before)
        rows->insert(rows->begin() + static_cast<std::ptrdiff_t>(before),
                     PlainRow(SourceRowKind::kHeading, wording.Text(heading)));
}

}  // namespace

SourceRow NoteRow(const char *text, const Wording &wording)
{
    return PlainRow(SourceRowKind::kNote, wording.Text(text));
}

std::vector<SourceRow> SourceRows(const std::vector<AttachedVolume> &attached,
                                  const std::vector<RecentVolume> &images, const Wording &wording)
{
    std::vector<SourceRow> rows;
    AppendGroup(true, "Removable Disks", attached, wording, &rows);
    AppendGroup(false, "Disks", attached, wording, &rows);
    if (attached.empty())
        rows = {PlainRow(SourceRowKind::kHeading, wording.Text("Disks")),
                NoteRow("No disk is attached.", wording)};
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
