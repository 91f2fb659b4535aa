// The report of an export as JSON, for programs and for the record. docs/export.md lists its names,
// which stay what they are.
//
// Threads: any.
#pragma once

#include "ExportReport.h"
#include "Options.h"
#include "PlanBuilder.h"

#include <string>
#include <vector>

namespace vx {

struct ReportFacts {
    const Options &options;                    // the secret is not reported
    const PlannedExport &planned;              // empty if nothing was planned
    const ExportReport &report;                // of what was exported
    const std::vector<std::string> &warnings;  // when the volume was opened, one line each
    uint64_t start = 0;                        // 100 ns since 1601-01-01 00:00 UTC, as is the next
    uint64_t end = 0;
    int status = 0;  // of the program
};

// The time now, in 100 ns since 1601-01-01 00:00 UTC.
uint64_t FileTimeNow();

// Whether there is nothing at the path, an empty file or an earlier report.
bool MayBecomeReport(const std::string &path);

// Replaces the file when the report is complete. False: error says why in one line, and the file is
// what it was.
bool WriteReportFile(const std::string &file, const ReportFacts &facts, std::string *error);

}  // namespace vx
