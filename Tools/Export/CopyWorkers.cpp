#include "CopyWorkers.h"

#include "CopyCursor.h"
#include "FileCopier.h"

#include <algorithm>
#include <system_error>
#include <thread>
#include <vector>

namespace vx {
namespace {

// More than processors, since a worker also waits for disks.
constexpr unsigned kFewestWorkers = 2;
constexpr unsigned kMostWorkers = 8;

size_t WorkersFor(int64_t files)
{
    const unsigned wanted =
        std::clamp(std::thread::hardware_concurrency(), kFewestWorkers, kMostWorkers);
    const auto pieces = static_cast<uint64_t>(files) / CopyCursor::kMostTogether + 1;
    return static_cast<size_t>(std::min<uint64_t>(wanted, pieces));
}

void Work(CopyJob &job, CopyCursor &cursor)
{
    FileCopier copier(job);
    std::vector<ExportPlan::Number> files;
    while (cursor.Take(&files)) {
        for (const ExportPlan::Number file : files) {
            if (job.stop.IsDue()) {
                cursor.End();
                break;
            }
            copier.Copy(file);
        }
        cursor.GiveBack();
    }
}

}  // namespace

void CopyFiles(CopyJob &job, int64_t files)
{
    CopyCursor cursor(job.plan);
    std::vector<std::thread> workers;
    const size_t count = WorkersFor(files);
    try {
        while (workers.size() < count)
            workers.emplace_back([&job, &cursor] { Work(job, cursor); });
    } catch (const std::system_error &) {
        // Those that there are do the work.
    }
    if (workers.empty())
        Work(job, cursor);
    for (std::thread &worker : workers)
        worker.join();
}

}  // namespace vx
