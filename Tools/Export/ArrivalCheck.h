// Checks afterwards whether each planned file has arrived: what the arrivals recorded, whether its
// copy is where it was put, with the size that it had on the volume, and on request whether both
// hold the same bytes. Reports the folders that could not be listed, or not whole.
//
// Ownership: borrows all that it is made with. Threads: main.
#pragma once

#import <Foundation/Foundation.h>

#include <string>
#include <unordered_set>

#include "Arrivals.h"
#include "DestinationTree.h"
#include "ExportReport.h"
#include "FileComparison.h"
#include "ProgressLine.h"
#import "VolumeSession.h"

namespace vx {

class ArrivalCheck {
public:
    struct Settings {
        bool verifies = false;
        // By a StopRequest, and a comparison by a disk that goes away; not if the export was
        // stopped.
        bool mayBeStopped = false;
    };

    // selected: what the user named; a link among them that cannot be followed is a failure.
    ArrivalCheck(const VolumeSession &session, NSArray *selected, DestinationTree &tree,
                 Settings settings, ProgressLine &line, ExportReport *report);

    // Adds the folders below the entries that could not be listed, or are not whole.
    void CheckFolders();

    // Adds the result of the plan; what the arrivals did not record was not copied.
    void CheckFiles(NSArray *plan, const std::vector<Arrival> &arrivals);

private:
    void CheckFolder(Z5FindData *folder, bool isUnlistable);
    void CheckListing(const std::u16string &path, const std::string &shownPath);
    void CheckFile(const Arrival &arrival);
    void CheckArrived(const Arrival &arrival);
    void CheckDamaged(const Arrival &arrival);
    void NoteName(const Arrival &arrival);
    std::string Difference(const Arrival &arrival, FileComparison::Unread unread);
    std::string DifferenceFrom(const Arrival &arrival, int copy, FileComparison::Unread unread);
    void CountUnreached(NSArray *plan, const std::vector<Arrival> &arrivals);
    void NoteUnopened(Z5FindData *entry, VolumeObstacle obstacle, const std::string &reason);
    void Fail(Z5FindData *entry, const std::string &reason);
    bool IsNamed(Z5FindData *entry) const;
    bool WasStopped() const;
    bool Advance(int64_t bytes);

    const VolumeSession &_session;
    NSArray *const _selected;
    DestinationTree &_tree;
    const Settings _settings;
    ProgressLine &_line;
    ExportReport &_report;
    FileComparison _comparison;
    std::unordered_set<std::u16string> _folders;
    std::string _current;
    int64_t _doneBytes = 0;
};

}  // namespace vx
