#include "RecordingSource.h"

namespace vx {

Error RecordingSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    NoteTable(offset, count);
    return _source->ReadAt(offset, buffer, count);
}

void RecordingSource::Locate(uint64_t offset, uint64_t length,
                             const StoredPlaceVisitor &visit) const
{
    _source->Locate(offset, length, visit);
}

void RecordingSource::NoteTable(uint64_t offset, size_t count) const
{
    _source->Locate(offset, count,
                    [this](const StoredPlace &place) { _record->Add(place.offset, place.length); });
}

Error RecordingSource::SalvageInside(uint64_t offset, void *buffer, size_t count,
                                     ByteRanges *gaps) const
{
    if (_record->IsOpening())
        NoteTable(offset, count);
    return _source->Salvage(offset, buffer, count, gaps);
}

}  // namespace vx
