// What an export reports of its files while they arrive, and asks before one is opened: for hash
// lists, for reports, and for going on with an interrupted export.
//
// Ownership: the export borrows its sink; what a call passes is valid until it returns.
// Threads: Begin on the main thread, before any worker; the others on any worker, several at once,
// with no lock of the export held. A hasher is used by one thread at a time.
#pragma once

#include "ExportPlan.h"
#include "ExportReport.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace vx {

class DestinationTree;
struct DestinationTraits;
class PlanNames;
struct PlannedExport;

using FileHash = std::array<uint8_t, 32>;

// Takes the bytes of one file after the other as they are written, zeros in place of what could
// not be read included.
class ChunkHasher {
public:
    virtual ~ChunkHasher() = default;
    virtual void Begin() = 0;
    virtual void Add(const void *bytes, size_t count) = 0;
    virtual FileHash End() = 0;
};

struct ArrivedFile {
    ExportPlan::Number number;
    const std::string &path;  // of the copy, relative to the destination
    int folder;               // the open folder of the copy
    const std::string &name;  // in that folder
    int64_t size;             // in bytes
    bool isWhole;             // false: a damaged copy, which may have a name of its own
    const FileHash *hash;     // null without a hasher
};

// What is known before the first file. Valid until the export has ended.
struct ExportScene {
    const ExportPlan &plan;
    const PlanNames &names;
    DestinationTree &tree;
    const std::string &destination;  // absolute
    const DestinationTraits &traits;
};

class ArrivalSink {
public:
    // After each piece that was read, with its bytes; false stops the reading.
    using Advance = std::function<bool(int64_t bytes)>;

    virtual ~ArrivalSink() = default;

    // Whether an ordinary file in the place of an entry seems to be complete from an earlier
    // export, by what is known of it without reading; asked before Begin. timeStep: as in
    // DestinationTraits.
    virtual bool LooksComplete(const PlanEntry &, const struct stat &, int64_t /*timeStep*/) const
    {
        return false;
    }

    // Before Begin, and before the room is looked at: deletes what killed runs have left of the
    // plan's files, if that is wanted.
    virtual void ClearLeftovers(const ExportScene &) {}

    // Before the first file. False: nothing is exported, and error says why in one line.
    virtual bool Begin(const ExportScene &, std::string * /*error*/) { return true; }

    // Whether the file is complete in its place, from an earlier export: it is not copied then.
    // Asked before the volume opens it. folder: the open folder that it belongs in.
    virtual bool IsAlreadyThere(ExportPlan::Number, int /*folder*/, const std::string & /*name*/)
    {
        return false;
    }

    // It is not, after all: an earlier file of this export has its place.
    virtual void IsNotThere(ExportPlan::Number) {}

    // One for each worker; null if nothing is to be hashed.
    virtual std::unique_ptr<ChunkHasher> MakeHasher() { return nullptr; }

    // The last look at a complete file with its times, under its hidden name. 0, or the errno why
    // it must not take its place.
    virtual int BeforeItIsPlaced(int /*file*/) { return 0; }

    // The file has taken its place.
    virtual void Arrived(const ArrivedFile &) {}

    // After the last file, on the main thread as all below. isAtItsEnd: nothing has stopped the
    // export before the end of its plan. False: error says in one line what is missing.
    virtual bool Seal(bool /*isAtItsEnd*/, std::string * /*error*/) { return true; }

    // Whether Difference can say something of the file.
    virtual bool IsHashed(ExportPlan::Number) const { return false; }
    // The hash of what was written to it, in hexadecimal digits; empty if it is not known.
    virtual std::string HashTextOf(ExportPlan::Number) const { return ""; }
    // Reads a copy from its disk. Why it is not what was written to it; empty if it is. After Seal.
    virtual std::string Difference(ExportPlan::Number, int /*folder*/, const std::string & /*name*/,
                                   const Advance &)
    {
        return "";
    }

    // The end of the export, with the status that the program will have.
    virtual bool Ended(const PlannedExport &, const ExportReport &, int /*status*/,
                       std::string * /*error*/)
    {
        return true;
    }
};

}  // namespace vx
