// One run of volume-info: describes a disk, opens a volume of it if a secret is given, or searches
// it.
//
// What was asked for goes to standard output, warnings and errors go to standard error.
// Threads: the main thread.
#pragma once

#include "DescribedDisk.h"
#include "DiskReport.h"
#include "InfoOptions.h"
#include "LoadedLibrary.h"
#include "TypedSecret.h"
#include "VolumeOpening.h"

#include <string>
#include <vector>

namespace vx {

class OpenedFacts;

class InfoCommand {
public:
    InfoCommand(const LoadedLibrary &library, InfoOptions &options)
        : _library(library), _options(options)
    {
    }

    // The exit status. Ends the process if a signal came while a volume was opened or searched for.
    int Run();

private:
    int Describe();
    int Search();
    int Open(const DescribedDisk &disk);
    VolumeOpening OpenWith(const TypedSecret &secret, bool unlocksOnly) const;
    int ShowOpened(const DescribedDisk &disk, const OpenedFacts &facts);
    int RequirePasswords(const OpenedFacts &facts);
    int ReportGaps(const DiskSearchGaps &gaps);

    void Warn(const std::vector<std::string> &warnings);
    static void Print(const std::string &text);
    static int Fail(int status, const std::string &error);
    // The status, or another one if the output did not arrive.
    static int Finish(int status);

    const LoadedLibrary &_library;
    InfoOptions &_options;  // whose secret is overwritten
    std::vector<std::string> _warned;
};

}  // namespace vx
