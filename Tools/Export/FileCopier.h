// Copies one file of a plan after the other from the volume to its place in the destination.
//
// A file arrives under a hidden name and takes its place when it is complete. A copy that is not
// whole replaces nothing: it is put beside a file that is in its place. What cannot be read is
// zeros in the copy.
//
// Ownership: borrows the job; owns a buffer of one chunk, or two while a large file is hashed.
// Threads: one at a time; every worker has one of its own.
#pragma once

#include "CopyJob.h"
#include "HashLane.h"
#include "OpenVolumeFile.h"

#include <cstdlib>
#include <memory>
#include <string>

namespace vx {

class FileCopier {
public:
    static constexpr int64_t kChunk = int64_t{4} << 20;  // bytes

    explicit FileCopier(CopyJob &job);

    // Records how it ended; nothing if the export ended before the file.
    void Copy(ExportPlan::Number number);

private:
    struct FreeBuffer {
        void operator()(unsigned char *bytes) const { free(bytes); }
    };

    bool FindPlace();
    void CopyIfMissing();
    void NoteThere();
    void GiveDates();
    void CopyOpened(OpenVolumeFile *source);
    bool Create();
    bool CopyChunks(OpenVolumeFile *source);
    bool ExchangeBuffers();
    void ReadChunk(OpenVolumeFile *source, int64_t position, uint32_t count);
    bool WriteChunk(uint32_t count);
    bool CloseCopy(bool isDamaged);
    void Deliver(const std::string &damage);
    void DeliverDamaged(const std::string &damage);
    std::string DamageOf(const OpenVolumeFile &source);
    void Report(const std::string &name, bool isWhole);

    bool Fail(const std::string &reason, FailureKind kind = FailureKind::kDestination);
    bool FailPlaced(const PlaceError &error);
    void NoteUnopened();
    bool NoteUnwritten(int error);
    std::string CopiedText() const;

    CopyJob &_job;
    using Buffer = std::unique_ptr<unsigned char, FreeBuffer>;

    Buffer _buffer;  // null: no memory
    Buffer _other;   // of the chunk before, which may still be hashed; null without a large file
    HashLane _hasher;
    ArrivingFile _file;
    ArrivalPlace _place;

    // Of the current file.
    ExportPlan::Number _number = ExportPlan::kRoot;
    Arrival _arrival;
    int64_t _copied = 0;
    bool _hasReadAll = true;
};

}  // namespace vx
