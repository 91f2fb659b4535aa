#include "FolderBytes.h"

namespace vx {

FolderBytes::Step FolderBytes::Next(Entry *entry)
{
    if (_runs.empty() || _position >= _runs.back().position + _runs.back().length)
        return Step::kEnd;
    uint32_t done = 0;
    if (!ReadRuns(_source, _runs, _position, reinterpret_cast<char *>(entry->data()), kEntryBytes,
                  &done))
        return Step::kError;
    _position += kEntryBytes;
    return Step::kEntry;
}

}  // namespace vx
