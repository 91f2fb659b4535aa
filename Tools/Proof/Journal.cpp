#include "Journal.h"

#include "ManifestReader.h"
#include "PathText.h"
#include "TerminalText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vx {
namespace {

constexpr char kMark[] = "# volume-export journal 1, destination ";

// Journals that other runs remove at the moment that they are opened.
constexpr int kMostStale = 100;

std::string PathBeside(const std::string &list)
{
    const std::string name = list.substr(list.rfind('/') + 1);
    return list.substr(0, list.size() - name.size()) + "." + name + ".journal";
}

std::string Failure(const std::string &what, const std::string &path, int error)
{
    return what + " " + TerminalText(path) + ": " + strerror(error);
}

}  // namespace

Journal::Journal(std::string list, std::string destination)
    : _list(std::move(list)), _destination(std::move(destination)), _path(PathBeside(_list))
{
}

std::string Journal::Header() const
{
    bool escaped = false;
    return kMark + EscapedName(_destination, &escaped) + "\n";
}

bool Journal::Open(std::string *error)
{
    bool isStale = true;
    for (int turn = 0; isStale && turn < kMostStale; ++turn) {
        isStale = false;
        if (!OpenOnce(&isStale, error))
            return false;
    }
    return true;
}

// isStale: another run has removed the file in the meantime.
bool Journal::OpenOnce(bool *isStale, std::string *error)
{
    _file =
        UniqueFd(open(_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0666));
    struct stat found;
    if (!_file || fstat(_file.Get(), &found) != 0) {
        *error = Failure("cannot write", _path, errno);
        return false;
    }
    if (!S_ISREG(found.st_mode) || found.st_nlink > 1) {
        *error = "cannot write " + TerminalText(_path) + ": it is not an ordinary file";
        return false;
    }
    // Not every file system has locks.
    if (flock(_file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        *error = "another export is writing the hash list " + TerminalText(_list);
        return false;
    }
    *isStale = fstat(_file.Get(), &found) == 0 && found.st_nlink == 0;
    // A run that was killed before it had written the header leaves a zero byte in its place.
    char first = '\0';
    _isEmpty = pread(_file.Get(), &first, 1, 0) != 1 || first == '\0';
    return true;
}

// Nothing that is no journal is written over.
bool Journal::TakeOver(std::string *error)
{
    if (_isEmpty)
        return true;
    ManifestReader reader(_file.Get());
    std::string_view line;
    if (reader.NextLine(&line) && line.substr(0, strlen(kMark)) == kMark)
        return true;
    *error = TerminalText(_path) + " is not a journal of this program; move it away";
    return false;
}

bool Journal::Begin(std::string *error)
{
    if (!Open(error) || !TakeOver(error))
        return false;
    if (ftruncate(_file.Get(), 0) != 0) {
        *error = Failure("cannot write", _path, errno);
        return false;
    }
    return WriteHeader(error);
}

bool Journal::WriteHeader(std::string *error)
{
    const std::string header = Header();
    if (!Write(header, 0)) {
        *error = Failure("cannot write", _path, errno);
        return false;
    }
    const MutexLock lock(_mutex);
    _end = std::max(_end, static_cast<int64_t>(header.size()));
    return true;
}

bool Journal::Resume(std::string *error)
{
    if (!Open(error) || !TakeOver(error))
        return false;
    if (_isEmpty && (!TakeList(error) || !WriteHeader(error)))
        return false;
    ManifestReader reader(_file.Get());
    std::string_view line;
    if (!reader.NextLine(&line) || std::string(line) + "\n" != Header()) {
        *error = TerminalText(_path) +
                 " belongs to an export to another destination; name another hash list";
        return false;
    }
    int64_t end = 0;
    if (!_earlier.Read(_file.Get(), reader.End(), &end) || ftruncate(_file.Get(), end) != 0) {
        *error = Failure("cannot read", _path, errno);
        return false;
    }
    const MutexLock lock(_mutex);
    _end = end;
    return true;
}

// The header comes last: until then the journal counts as empty.
bool Journal::TakeList(std::string *error)
{
    if (ftruncate(_file.Get(), 0) != 0) {
        *error = Failure("cannot write", _path, errno);
        return false;
    }
    {
        const MutexLock lock(_mutex);
        _end = static_cast<int64_t>(Header().size());
    }
    const UniqueFd list(open(_list.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!list && errno == ENOENT)
        return true;
    ManifestReader reader(list.Get());
    ManifestRecord record;
    while (list && reader.Next(&record)) {
        if (!Append(record)) {
            *error = FailureText();
            return false;
        }
    }
    if (!list || reader.Error() != 0) {
        *error = Failure("cannot read", _list, list ? reader.Error() : errno);
        return false;
    }
    if (reader.IsTorn())
        *error = TerminalText(_list) + " is not a hash list; without --resume it is replaced";
    return !reader.IsTorn();
}

bool Journal::Write(const std::string &text, int64_t offset)
{
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t now = pwrite(_file.Get(), text.data() + written, text.size() - written,
                                   offset + static_cast<int64_t>(written));
        if (now < 0 && errno == EINTR)
            continue;
        if (now < 0)
            return false;
        written += static_cast<size_t>(now);
    }
    return true;
}

bool Journal::Append(const ManifestRecord &record)
{
    const std::string text = TextOf(record);
    const MutexLock lock(_mutex);
    if (!Write(text, _end)) {
        const int error = errno;
        // What was written of it is dropped by the next one, or by the run that reads it.
        (void)ftruncate(_file.Get(), _end);
        if (_error == 0)
            _error = error;
        return false;
    }
    _end += static_cast<int64_t>(text.size());
    return true;
}

bool Journal::Sync()
{
    int64_t end = 0;
    {
        const MutexLock lock(_mutex);
        const int64_t wanted = _end;
        while (_isSyncing && _durableEnd < wanted)
            _synced.Wait(_mutex);
        if (_durableEnd >= wanted)
            return true;
        _isSyncing = true;
        end = _end;
    }
    const int error = fsync(_file.Get()) == 0 ? 0 : errno;
    const MutexLock lock(_mutex);
    _isSyncing = false;
    if (error == 0)
        _durableEnd = std::max(_durableEnd, end);
    else if (_error == 0)
        _error = error;
    _synced.NotifyAll();
    return error == 0;
}

std::string Journal::FailureText() const
{
    const MutexLock lock(_mutex);
    return _error == 0 ? "" : Failure("cannot write", _path, _error);
}

void Journal::Remove()
{
    if (_file)
        unlink(_path.c_str());
    _file.Close();
}

}  // namespace vx
