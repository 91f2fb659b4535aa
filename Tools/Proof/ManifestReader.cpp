#include "ManifestReader.h"

#include <cerrno>
#include <unistd.h>

namespace vx {
namespace {

// A path of 32767 UTF-16 units has at most three bytes for each, and two if they are escaped.
constexpr size_t kLongestLine = 262144;

}  // namespace

bool ManifestReader::ReadMore()
{
    _bytes.erase(0, _begin);
    _begin = 0;
    const size_t had = _bytes.size();
    _bytes.resize(had + _piece);
    ssize_t got = -1;
    do
        got = pread(_file, &_bytes[had], _piece, _offset);
    while (got < 0 && errno == EINTR);
    if (got < 0)
        _error = errno;
    const size_t taken = got > 0 ? static_cast<size_t>(got) : 0;
    _bytes.resize(had + taken);
    _offset += static_cast<int64_t>(taken);
    return taken > 0;
}

bool ManifestReader::NextLine(std::string_view *line)
{
    size_t end = _bytes.find('\n', _begin);
    while (end == std::string::npos) {
        const size_t searched = _bytes.size() - _begin;
        _isTorn = _isTorn || searched > kLongestLine;
        if (_isTorn || !ReadMore()) {
            _isTorn = _isTorn || searched > 0;
            return false;
        }
        end = _bytes.find('\n', searched);
    }
    *line = std::string_view(_bytes).substr(_begin, end - _begin);
    _end += static_cast<int64_t>(line->size() + 1);
    _begin = end + 1;
    return true;
}

bool ManifestReader::Next(ManifestRecord *record)
{
    bool hasComment = false;
    std::string_view line;
    int64_t whole = _end;
    for (; NextLine(&line); whole = hasComment ? whole : _end) {
        const bool isComment = !line.empty() && line[0] == '#';
        if (isComment) {
            hasComment = ReadComment(line, record);
            _recordBegin = _end - static_cast<int64_t>(line.size() + 1);
            continue;
        }
        if (!ReadSum(line, record)) {
            _isTorn = true;
            break;
        }
        if (hasComment)
            return true;
    }
    _end = whole;
    return false;
}

}  // namespace vx
