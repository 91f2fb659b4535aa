// The result of an export, and its report. Threads: one at a time.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "VolumeReports.h"

namespace vx {

struct ExportReport {
    struct Failure {
        std::string path;    // as it may be shown
        std::string reason;  // follows a colon
    };
    struct Renamed {
        std::string path;  // on the volume, as it may be shown
        std::string copy;  // relative to the destination, as it may be shown
    };
    // What is counted in one line: the reason, and whether they are folders.
    using Kind = std::pair<VolumeObstacle, bool>;

    enum class Stop { kNone, kSignal, kDiskFull, kDiskGone };

    std::string destination;
    int64_t arrivedFiles = 0;
    int64_t arrivedBytes = 0;
    double copySeconds = 0;
    double checkSeconds = 0;
    bool isVerified = false;                           // everything that arrived was compared
    std::vector<Failure> failures;                     // in the volume's order, folders first
    std::map<Kind, std::vector<std::string>> counted;  // failures as well, as they may be shown
    int64_t damagedFolders = 0;                        // each is one of the failures, too
    std::vector<std::string> links;                    // not followed, as they may be shown
    std::vector<Renamed> renamed;                      // arrived under another name
    int64_t undated = 0;       // files and folders that did not get their dates
    std::string firstUndated;  // one of them, as it may be shown
    std::string undatedReason;
    std::string syncError;  // why the disk may not hold all that was written; empty if it does
    Stop stop = Stop::kNone;
    std::vector<std::string> arrived;     // named if the disk went away, as shown
    std::vector<Failure> unfinished;      // what was being copied when it stopped: one or none
    std::vector<std::string> notCopied;   // not reached by the stopped export, as shown
    std::vector<std::string> notChecked;  // not reached by a stopped check, as shown

    bool IsComplete() const;
};

// verbose: names everything that is only counted otherwise.
void PrintReport(const ExportReport &report, bool verbose, FILE *stream);

// The part of it on other names, links and failures, as what would happen.
void PrintExpected(const ExportReport &report, bool verbose, FILE *stream);

}  // namespace vx
