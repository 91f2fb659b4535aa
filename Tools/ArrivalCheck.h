// Looks afterwards whether each planned file has arrived, since the export engine is silent:
// it must exist where it belongs, with the size that the volume reports when it is opened, not
// have been overwritten by another one, and not have been read with errors. On request both
// sides are read again and compared.
//
// Ownership: borrows the session, the entries and the report. Threads: main.
#pragma once

#import <Foundation/Foundation.h>

#include <ctime>
#include <map>
#include <string>
#include <unordered_set>

#include "ExportReport.h"
#include "FileComparison.h"
#include "LocalFile.h"
#include "ProgressLine.h"
#import "VolumeSession.h"

namespace vx {

class ArrivalCheck {
public:
    struct Settings {
        std::string destination;
        time_t started = 0;  // of the export, by this machine's clock
        bool verifies = false;
        bool mayBeStopped = false;  // by a StopRequest; not if that has stopped the export
    };

    // selected: what the user named; a link among them that cannot be followed is a failure.
    ArrivalCheck(const VolumeSession &session, NSArray *selected, Settings settings,
                 ProgressLine &line, ExportReport *report);

    // Adds the folders that could not be listed below the entries.
    void CheckFolders();

    // Checks the first count entries of the plan, each path once; the last one is told as partly
    // copied, should it be incomplete and the report's wasStopped hold.
    void CheckFiles(NSArray *plan, NSUInteger count);

private:
    void CheckFile(Z5FindData *entry, bool mayBePartial);
    void CheckCopy(Z5FindData *entry, Z5BitLockerFile *file, bool mayBePartial);
    std::string ReasonForCopy(const std::u16string &path, Z5BitLockerFile *file,
                              const std::string &copy, FileIdentity *identity);
    void NoteUnopened(Z5FindData *entry, const char *reason);
    void AddArrived(const FileIdentity &identity, Z5FindData *entry, int64_t size);
    bool WasStopped() const;
    bool Advance(int64_t bytes);

    const VolumeSession &_session;
    NSArray *const _selected;
    const Settings _settings;
    ProgressLine &_line;
    ExportReport &_report;
    FileComparison _comparison;
    std::unordered_set<std::u16string> _checked;
    struct Arrived {
        Z5FindData *entry;
        int64_t size;
    };
    std::map<FileIdentity, Arrived> _arrived;
    std::string _current;
    int64_t _doneBytes = 0;
};

}  // namespace vx
