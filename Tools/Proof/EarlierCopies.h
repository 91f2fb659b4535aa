// Which files of a plan an earlier export has completed: those of the same size and date and, with
// a hash list, of the same contents.
//
// Ownership: borrows all that it is made with. Threads: any.
#pragma once

#include "ArrivedFiles.h"
#include "CopyOnDisk.h"
#include "ExportPlan.h"
#include "Mutex.h"

#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace vx {

class Journal;
class PlanNames;

class EarlierCopies {
public:
    struct Settings {
        bool comparesTimes = true;
        int64_t timeStep = 1;        // of the destination, in nanoseconds; 0 if it keeps none
        Journal *journal = nullptr;  // of a hash list; null without one
    };

    EarlierCopies(const ExportPlan &plan, const PlanNames &names, const Settings &settings)
        : _plan(plan), _names(names), _settings(settings)
    {
    }

    // Whether size and date are those of the entry; the size alone where dates say nothing and a
    // hash list does.
    static bool HasSizeAndTime(const PlanEntry &entry, const struct stat &found,
                               const Settings &settings, bool hasList);

    // folder: the open folder that the file belongs in. file: receives the hash, with a journal.
    bool IsComplete(ExportPlan::Number number, int folder, const std::string &name,
                    ArrivedFiles::File *file);

private:
    bool HasContents(const PlanEntry &entry, const std::string &path, int folder,
                     const std::string &name, ArrivedFiles::File *file);
    std::unique_ptr<CopyOnDisk> TakeReader();
    void GiveBack(std::unique_ptr<CopyOnDisk> reader);

    const ExportPlan &_plan;
    const PlanNames &_names;
    const Settings _settings;
    Mutex _mutex;
    std::vector<std::unique_ptr<CopyOnDisk>> _readers VX_GUARDED_BY(_mutex);  // idle ones
};

}  // namespace vx
