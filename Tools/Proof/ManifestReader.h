// Reads the records of a hash list or of a journal, one after the other, in little memory.
//
// Lines that begin with "#" and are no comment of a record are skipped, and so is a hash without
// the comment before it, as other programs write it: its size is not known.
// Ownership: borrows the file. Threads: one at a time.
#pragma once

#include "ManifestRecord.h"

namespace vx {

class ManifestReader {
public:
    static constexpr size_t kUsualPiece = 65536;

    // file: read by position, which does not move. piece: bytes that are read at once.
    explicit ManifestReader(int file, int64_t offset = 0, size_t piece = kUsualPiece)
        : _file(file), _offset(offset), _end(offset), _piece(piece)
    {
    }

    // One line without its end; false at the end of whole lines.
    bool NextLine(std::string_view *line);
    // False at the end, and before a line that is none of a hash list or has no end.
    bool Next(ManifestRecord *record);

    // Where the last record begins, and where the last line ended that was taken.
    int64_t RecordBegin() const { return _recordBegin; }
    int64_t End() const { return _end; }
    // Whether it ended because the file could not be read; errno of that, else 0.
    int Error() const { return _error; }
    // Whether it ended before something that is no line of a hash list.
    bool IsTorn() const { return _isTorn; }

private:
    bool ReadMore();

    const int _file;
    int64_t _offset;  // of the next byte to read
    int64_t _end;
    const size_t _piece;
    std::string _bytes;
    size_t _begin = 0;  // of what was not taken yet
    int64_t _recordBegin = 0;
    int _error = 0;
    bool _isTorn = false;
};

}  // namespace vx
