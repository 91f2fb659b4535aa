// Judges the result of a run by one rule: what arrived is byte for byte right, or the exit
// status is not 0 and the messages name it; nothing that existed before is changed except by being
// replaced by a complete file; and no byte comes from anywhere but the file itself or is zero
// where the disk could be read.
//
// The window's engine says nothing, by design, so of it only the bytes are judged, and what it
// wrote into files that it had to write is its own.
//
// A file that is not whole may lie beside its place under a name that the messages give, so that
// what stands in its place stays.
//
// Of names that differ only in case, where the destination takes them for one, the first keeps its
// place; each other file arrives with a number, NAME~N.EXT, and is listed under its new name.
//
// Once the disk is gone or the destination is full, at most one file is left that is not whole: the
// rest is not made.
//
// Of an existing file two incomplete ones are let pass, as long as they are named: one in which
// exactly what the disk did not give is zero, and the single one that was being written when the
// destination failed or the disk was gone.
#pragma once

#include "FolderSnapshot.h"
#include "RescueVolume.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace vx {

struct Evidence {
    const RescueVolume *volume = nullptr;

    bool speaks = true;  // a program with messages and a status that count
    int status = 0;
    std::string messages;

    LostBytes lost;                 // by bad sectors
    bool mayLoseAny = false;        // what leads to files is damaged on the disk
    bool isGone = false;            // the disk, at some moment
    bool destinationFails = false;  // it does not take everything
    bool stops = false;             // nothing more can arrive once it has failed
    bool writesAreLost = false;     // in the middle of a file, while later ones succeed
    bool ignoresCase = false;       // the destination, in names
    bool readsAll = false;          // there is no reason for anything but success

    FolderSnapshot before;  // the destination
    FolderSnapshot after;
    FolderSnapshot bystandersBefore;  // what is no business of the export
    FolderSnapshot bystandersAfter;
};

class Oracle {
public:
    explicit Oracle(const Evidence &evidence) : _evidence(evidence) {}

    // A sentence for each violation; none if the rule holds.
    std::vector<std::string> Judge();

private:
    enum class Arrival { kWhole, kZeroWhereLost, kPartial, kAbsent };

    void Say(const std::string &violation) { _violations.push_back(violation); }
    void JudgeStatus();
    void JudgeBystanders();
    void JudgeFile(const RescueFile &file);
    Arrival ArrivalOf(const RescueFile &file);
    Arrival JudgeBytes(const RescueFile &file, const std::string &got);
    void JudgeShortfall(const RescueFile &file, Arrival arrival);
    void JudgeReplacement(const RescueFile &file, Arrival arrival);
    void JudgeOthers();
    void JudgeUnnamed();
    void JudgeStop();
    // Of a file that is not at its place.
    Arrival ArrivalElsewhere(const RescueFile &file);
    bool DiffersOnlyInCase(const RescueFile &file) const;
    Arrival ArrivalUnderNumber(const RescueFile &file);
    bool IsCopyBeside(const RescueFile &file, const std::string &path) const;
    // Where the bytes are neither right nor zero where they may be; their count if nowhere.
    size_t FirstWrong(const RescueFile &file, const std::string &got) const;
    bool MayBeZero(const RescueFile &file, uint64_t at) const;
    bool MayFallShort() const;
    bool ArrivedNothing() const;
    std::string OriginOf(const std::string &got, size_t at) const;
    std::string Key(const std::string &path) const;
    std::map<std::string, SnapshotEntry> Keyed(const FolderSnapshot &snapshot) const;

    const Evidence &_evidence;
    std::vector<std::string> _violations;
    std::map<std::string, SnapshotEntry> _before;
    std::map<std::string, SnapshotEntry> _after;
    std::map<std::string, int> _landings;
    std::set<std::string> _copiesBeside;
    size_t _partialFiles = 0;
    size_t _unnamedFiles = 0;
    std::string _firstUnnamed;
    size_t _partialReplacements = 0;
};

}  // namespace vx
