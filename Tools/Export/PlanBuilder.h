// Reads from a volume what an export is to copy. Each folder is listed once, when it is entered;
// the volume's order is kept.
//
// Not entered are folders that have the name of an earlier entry, that are named "", "." or "..",
// and those whose name is not valid text.
// Ownership: borrows the volume and its reports. Threads: one at a time.
#pragma once

#include "ExportPlan.h"
#include "FolderShelf.h"
#include "VolumeSelection.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vx {

// Whether an entry that is about to be added belongs to the export; a folder that does not is not
// entered. path: on the volume, "/Reports/2019". Not asked for the root and for folders that only
// lead to what was named.
using PlanFilter = std::function<bool(const std::u16string &path, const PlanEntry &entry)>;

struct PlannedExport {
    ExportPlan plan;
    // Folders that are not whole, or only thanks to other records of the disk.
    std::map<ExportPlan::Number, VolumeListingReport> damagedFolders;
    // Entries that may have more streams than were found.
    std::vector<ExportPlan::Number> lackingStreams;
    int64_t files = 0;
    int64_t bytes = 0;  // as listed
};

class PlanBuilder {
public:
    // filter: may be empty, and then all belongs to the export.
    PlanBuilder(IVolume &volume, const VolumeReports &reports, PlanFilter filter = nullptr)
        : _filter(std::move(filter)), _reports(reports), _shelf(volume, reports)
    {
    }

    // The streams of what belongs to the export belong to it, too.
    void AddStreams() { _addsStreams = true; }

    // paths: as on the command line; none for the root. What is named twice, or lies in another
    // named folder, is planned once. False: error says why in one line. Called once.
    bool Build(const std::vector<std::string> &paths, PlannedExport *planned, std::string *error);

private:
    using Number = ExportPlan::Number;
    struct Step;

    static void Select(const NamedEntry &entry, std::vector<Step> *steps);
    void AddSteps(const std::vector<Step> &steps);
    void ReadAll();
    void ReadFolderOf(Number folder);
    Number AddEntry(Number folder, std::u16string *path, const FolderRecord &record, uint8_t flags);
    void MarkRepeated(Number folder);
    void AddStreamsIn(Number folder);
    void AddStreamsOf(Number owner);

    const PlanFilter _filter;
    const VolumeReports &_reports;
    FolderShelf _shelf;  // what the selection has listed
    bool _addsStreams = false;
    PlannedExport *_planned = nullptr;
    bool _isTooLarge = false;
};

}  // namespace vx
