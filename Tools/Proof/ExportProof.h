// What proves an export: its hash list with the journal, and the hashes to read the copies against.
// Finds what an earlier export has completed, for one that goes on with it.
//
// Ownership: borrows the options, and from Begin on the plan and its names. Threads: as those of an
// ArrivalSink; the rest by one, before or after the workers.
// Errors: one line, ready to follow "volume-export: ".
#pragma once

#include "ArrivalSink.h"
#include "ArrivedFiles.h"
#include "CopyOnDisk.h"
#include "EarlierCopies.h"
#include "Journal.h"
#include "Options.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace vx {

class ExportProof : public ArrivalSink {
public:
    // Takes the time as that of the start.
    explicit ExportProof(const Options &options);

    // Whether the hash list and the report can be had and written where they are to be. Before
    // anything is opened or exported. False: error says why.
    bool MayBegin(std::string *error) const;

    // What was noticed when the volume was opened, one line each.
    void NoteWarnings(const std::vector<std::string> &warnings) { _warnings = warnings; }

    bool LooksComplete(const PlanEntry &entry, const struct stat &found,
                       int64_t timeStep) const override;
    void ClearLeftovers(const ExportScene &scene) override;
    bool Begin(const ExportScene &scene, std::string *error) override;
    bool IsAlreadyThere(ExportPlan::Number number, int folder, const std::string &name) override;
    void IsNotThere(ExportPlan::Number number) override { _files.Forget(number); }
    std::unique_ptr<ChunkHasher> MakeHasher() override;
    int BeforeItIsPlaced(int file) override;
    void Arrived(const ArrivedFile &file) override;

    // Writes the hash list; the journal goes only at the end of the plan.
    bool Seal(bool isAtItsEnd, std::string *error) override;
    bool IsHashed(ExportPlan::Number number) const override
    {
        return _files.Find(number) != nullptr;
    }
    std::string HashTextOf(ExportPlan::Number number) const override;
    std::string Difference(ExportPlan::Number number, int folder, const std::string &name,
                           const Advance &advance) override;
    // Writes the report.
    bool Ended(const PlannedExport &planned, const ExportReport &report, int status,
               std::string *error) override;
    // The same, if nothing was planned, for this reason.
    bool EndedEarly(const std::string &reason, int status, std::string *error);

private:
    bool SealList(bool isAtItsEnd, std::string *error);
    bool WriteList(std::string *error);
    std::string PathOf(ExportPlan::Number number) const;
    void NoteError(int error);

    const Options &_options;
    const uint64_t _start;
    std::vector<std::string> _warnings;
    const ExportPlan *_plan = nullptr;
    const PlanNames *_names = nullptr;
    DestinationTree *_tree = nullptr;
    std::unique_ptr<Journal> _journal;        // with --manifest
    std::unique_ptr<EarlierCopies> _earlier;  // with --resume
    std::unique_ptr<CopyOnDisk> _reader;      // of Difference
    ArrivedFiles _files;
    std::atomic<int> _folderError{0};  // errno of a folder that could not be made durable
};

}  // namespace vx
