// The report of a disk, from the volume library.
//
// Ownership: releases the report. Errors: one line, ready to follow "volume-info: ".
#pragma once

#include "LoadedLibrary.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

class DescribedDisk {
public:
    // disk: as for the library's entry.
    DescribedDisk(const LoadedLibrary &library, const std::string &disk);

    // Null: Error says why, and Status is the library's, or 0 if it was not asked.
    const DiskReport *Report() const { return _report.get(); }
    const std::string &Error() const { return _error; }
    int32_t Status() const { return _status; }

    // What was noticed, safe for a terminal; each begins with the path.
    std::vector<std::string> Warnings() const;
    // Whether a volume of it opens without a secret although it is encrypted.
    bool HasClearKey() const;

private:
    using Release = VolumeLibraryReleaseDiskReportFunction;

    const std::string _disk;
    std::unique_ptr<const DiskReport, Release> _report;
    int32_t _status = 0;
    std::string _error;
};

}  // namespace vx
