// What came of an export, and how it is told.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace vx {

struct ExportReport {
    struct Failure {
        std::string path;    // as it may be shown
        std::string reason;  // follows a colon
    };

    std::string destination;
    int64_t arrivedFiles = 0;
    int64_t arrivedBytes = 0;
    double copySeconds = 0;
    double checkSeconds = 0;
    bool isVerified = false;         // everything that arrived was compared
    std::vector<Failure> failures;   // in the volume's order
    std::vector<std::string> links;  // not followed, as they may be shown
    bool wasStopped = false;
    std::vector<Failure> partial;  // what was being copied when it stopped: one or none
    int64_t notCopiedFiles = 0;    // that the stopped export did not come to
    int64_t notCheckedFiles = 0;   // that a stopped check did not come to

    bool IsComplete() const;
};

// names the links that were not followed if namesLinks.
void PrintReport(const ExportReport &report, bool namesLinks, FILE *stream);

}  // namespace vx
