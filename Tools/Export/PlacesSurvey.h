// Where the planned files lie on the disk: which of them touch what a map marks as not read, and
// which areas an export of them needs. Each file is opened once; its contents are not read.
//
// Ownership: borrows the plan and the volume. Memory: a number for each file that is named, and
// DiskAreas'. Threads: main.
#pragma once

#include "DiskAreas.h"
#include "PlanBuilder.h"
#include "VolumeSession.h"

#include <cstdio>
#include <string>
#include <vector>

namespace vx {

class PlacesSurvey {
public:
    PlacesSurvey(const VolumeSession &session, const PlannedExport &planned)
        : _session(session), _planned(planned)
    {
    }

    void Run();

    // Names the files that get zeros and what cannot be read for want of its records: some, or all.
    void Print(bool all, FILE *stream) const;

    // Writes a domain for ddrescue with the areas that the export needs. image: as on the command
    // line. False: error says why in one line.
    bool WriteMap(const std::string &path, const std::string &image, std::string *error);

private:
    using Number = ExportPlan::Number;
    using Numbers = std::vector<Number>;

    void Visit(Number number);
    void VisitFile(Number number);
    void PrintSome(const std::string &heading, const Numbers &numbers, bool all,
                   FILE *stream) const;

    const VolumeSession &_session;
    const PlannedExport &_planned;
    DiskAreas _needed;
    Numbers _holed;       // files that lie in part on what is not read
    Numbers _unreadable;  // files and folders whose records do
};

}  // namespace vx
