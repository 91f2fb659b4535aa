// The result of an export, and its report. Threads: one at a time.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "ExportPlan.h"
#include "VolumeReports.h"

namespace vx {

// Why a file or a folder did not arrive, or not whole.
enum class FailureKind : uint8_t {
    kDestination,  // it could not be written or put into its place, or has left it again
    kName,         // its name cannot be had in the destination, or an earlier entry has it
    kMemory,       // there was not enough
    kUnread,       // ranges of it could not be read
    kDamaged,      // its records on the disk contradict each other, or not all of it was read
    kUnopened,     // the volume did not open it; the obstacle says why, if it is known
    kFolder,       // a folder that cannot be listed, or not whole
    kLink,         // named on the command line, and not followed
    kNotCopied,    // it was not reached
    kDiffers,      // the copy is not what was written to it
};

struct ExportReport {
    using Number = ExportPlan::Number;

    struct Failure {
        Number entry = 0;
        FailureKind kind = FailureKind::kDestination;
        VolumeObstacle obstacle = VolumeObstacle::kNone;
        std::string reason;             // follows a colon
        std::string copy;               // relative to the destination; empty if there is none
        std::vector<ByteRange> unread;  // of the copy
    };
    struct Renamed {
        Number entry;
        std::string copy;  // relative to the destination
    };
    // What is counted in one line: the reason, and whether they are folders.
    using Kind = std::pair<VolumeObstacle, bool>;

    enum class Stop { kNone, kSignal, kDiskFull, kDiskGone };

    std::string destination;
    std::string image;      // the file that the volume itself goes to; empty for an export of files
    std::string imageHash;  // SHA-256 of what was written to it; empty if it is not known
    int64_t arrivedFiles = 0;
    int64_t arrivedBytes = 0;
    int64_t earlierFiles = 0;  // that were there already
    int64_t earlierBytes = 0;
    double copySeconds = 0;
    double checkSeconds = 0;
    bool isVerified = false;                      // everything that arrived was read again
    int64_t unhashedFiles = 0;                    // there already, and with nothing to compare
    std::vector<std::string> errors;              // failures of no one file, in one line each
    std::vector<Failure> failures;                // in the volume's order, folders first
    std::map<Kind, std::vector<Number>> counted;  // failures as well
    int64_t damagedFolders = 0;                   // each is one of the failures, too
    std::vector<Number> links;                    // not followed
    std::vector<Renamed> renamed;                 // arrived under another name
    int64_t undated = 0;                          // files and folders that did not get their dates
    std::string firstUndated;                     // one of them, as it may be shown
    std::string undatedReason;
    std::string syncError;  // why the disk may not hold all that was written; empty if it does
    Stop stop = Stop::kNone;
    std::vector<Number> arrived;      // named if the disk went away
    std::vector<Failure> unfinished;  // what was being copied when it stopped
    std::vector<Number> notCopied;    // not reached by the stopped export
    std::vector<Number> notChecked;   // not reached by a stopped check

    bool IsComplete() const;
};

// plan: the one that was exported. verbose: names everything that is only counted otherwise.
void PrintReport(const ExportReport &report, const ExportPlan &plan, bool verbose, FILE *stream);

// The part of it on other names, links and failures, as what would happen.
void PrintExpected(const ExportReport &report, const ExportPlan &plan, bool verbose, FILE *stream);

}  // namespace vx
