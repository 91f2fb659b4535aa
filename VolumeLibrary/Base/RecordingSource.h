// Passes reads on and records where on the disk the tables lie that were read.
//
// What ReadAt reads is a table; the contents of files are read by Salvage and are not recorded,
// except while the record says that the volume is being opened. Of what CachedSource reads ahead
// only what is used counts.
// Ownership: shares the source and the record. Threads: any number at a time.
#pragma once

#include "ByteSource.h"
#include "ReadRecord.h"

#include <memory>
#include <utility>

namespace vx {

class RecordingSource final : public ByteSource {
public:
    RecordingSource(std::shared_ptr<const ByteSource> source, std::shared_ptr<ReadRecord> record)
        : _source(std::move(source)), _record(std::move(record))
    {
    }

    uint64_t Size() const override { return _source->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;
    void Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const override;
    void NoteTable(uint64_t offset, size_t count) const override;

protected:
    Error SalvageInside(uint64_t offset, void *buffer, size_t count,
                        ByteRanges *gaps) const override;

private:
    const std::shared_ptr<const ByteSource> _source;
    const std::shared_ptr<ReadRecord> _record;
};

}  // namespace vx
