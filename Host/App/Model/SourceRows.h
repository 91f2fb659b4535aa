// The rows of the list of what can be opened, under headings: removable disks with their volumes,
// the other disks, and the images that were opened last.
//
// Threads: any. Texts are UTF-8, for people; paths are as the system has them.
#pragma once

#include "AttachedDisks.h"
#include "RecentVolumes.h"
#include "Wording.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vx {

enum class SourceRowKind {
    kHeading,
    kNote,  // in place of rows, where there are none
    kDisk,
    kVolume,
    kImage,
};

struct SourceRow {
    SourceRowKind kind = SourceRowKind::kHeading;
    std::string path;  // empty for what cannot be chosen
    std::string title;
    std::string detail;
    bool isEncrypted = false;
    bool isMissing = false;  // of an image: nothing has its path now
};

SourceRow NoteRow(const char *text, const Wording &wording);
std::vector<SourceRow> SourceRows(const std::vector<AttachedVolume> &attached,
                                  const std::vector<RecentVolume> &images, const Wording &wording);

std::optional<size_t> RowOfPath(const std::string &path, const std::vector<SourceRow> &rows);

}  // namespace vx
