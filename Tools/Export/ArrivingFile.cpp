#include "ArrivingFile.h"

#include "DamagedCopy.h"
#include "EarlyWriting.h"
#include "LocalFileOpening.h"
#include "NameForms.h"
#include "RenameToFree.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace vx {
namespace {

// Names that other runs may have left.
constexpr unsigned kMostNumbers = 10000;

constexpr mode_t kPermissions = 0777;

// Long enough for the file system to lay it out in one piece.
constexpr int64_t kWritingStep = int64_t{8} << 20;

// Of holes: what file systems allocate.
constexpr size_t kBlock = 4096;

bool IsZero(const char *bytes, size_t count)
{
    return *bytes == 0 && memcmp(bytes, bytes + 1, count - 1) == 0;
}

// How many bytes from the beginning on are blocks of zeros, or blocks of others.
size_t LengthOf(const char *bytes, size_t count, bool areZeros)
{
    size_t length = 0;
    while (length < count) {
        const size_t block = std::min(kBlock, count - length);
        if (IsZero(bytes + length, block) != areZeros)
            break;
        length += block;
    }
    return length;
}

void TakeAfter(int file, const struct stat &replaced)
{
    // Not every file system keeps owners, and not every user may give files away.
    const bool isGiven = fchown(file, replaced.st_uid, replaced.st_gid) == 0;
    const mode_t permissions = replaced.st_mode & kPermissions;
    if (isGiven || replaced.st_uid == geteuid())
        (void)fchmod(file, permissions);
}

}  // namespace

bool ArrivingFile::Create(const Folder &folder, const std::string &name,
                          const struct stat *replaced)
{
    Discard();
    _folder = folder;
    _name = name;
    _written = _begun = _zeros = 0;
    _file = CreatePartial();
    if (!_file)
        return false;
    if (replaced != nullptr)
        TakeAfter(_file.Get(), *replaced);
    struct stat made;
    if (fstat(_file.Get(), &made) == 0)
        _identity = IdentityOf(made);
    return true;
}

UniqueFd ArrivingFile::CreatePartial()
{
    errno = EEXIST;
    for (unsigned number = 1; number < kMostNumbers; ++number) {
        const std::string partial = PartialName(_name, number, _longest);
        if (!_partials.IsFree(partial))
            continue;
        UniqueFd file(CreateLocalFile(_folder->Get(), partial.c_str()));
        if (file) {
            // Not every file system has locks.
            (void)flock(file.Get(), LOCK_EX | LOCK_NB);
            _partial = partial;
        }
        if (file || errno != EEXIST)
            return file;
    }
    return UniqueFd();
}

size_t ArrivingFile::Write(const void *bytes, size_t count)
{
    const char *from = static_cast<const char *>(bytes);
    size_t done = 0;
    while (done < count) {
        const ssize_t written = write(_file.Get(), from + done, count - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written == 0)
            errno = EIO;
        if (written <= 0)
            break;
        done += static_cast<size_t>(written);
    }
    NoteWritten(done);
    return done;
}

size_t ArrivingFile::WriteWithHoles(const void *bytes, size_t count)
{
    const char *from = static_cast<const char *>(bytes);
    size_t done = 0;
    while (done < count) {
        const size_t zeros = LengthOf(from + done, count - done, true);
        _zeros += static_cast<int64_t>(zeros);
        done += zeros;
        const size_t others = LengthOf(from + done, count - done, false);
        if (others > 0 && (!EndZeros() || Write(from + done, others) != others))
            break;
        done += others;
    }
    return done;
}

// The place after zeros that were kept back is where the next bytes belong.
bool ArrivingFile::EndZeros()
{
    static const char kZeros[kShortestHole] = {};
    const auto count = static_cast<size_t>(std::exchange(_zeros, 0));
    if (count < sizeof(kZeros))
        return Write(kZeros, count) == count;
    if (lseek(_file.Get(), static_cast<off_t>(count), SEEK_CUR) < 0)
        return false;
    NoteWritten(count);
    return true;
}

bool ArrivingFile::EndHoles()
{
    const bool endsInHole = _zeros >= kShortestHole;
    return EndZeros() && (!endsInHole || ftruncate(_file.Get(), _written) == 0);
}

void ArrivingFile::NoteWritten(size_t count)
{
    _written += static_cast<int64_t>(count);
    if (_written - _begun < kWritingStep)
        return;
    BeginWriting(_file.Get(), _begun, _written - _begun);
    _begun = _written;
}

// Compared while it is open: some file systems number a file anew that nobody has open.
bool ArrivingFile::HasItsName() const
{
    struct stat own;
    struct stat named;
    return fstat(_file.Get(), &own) == 0 &&
           fstatat(_folder->Get(), _partial.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           IdentityOf(own) == IdentityOf(named);
}

bool ArrivingFile::Close()
{
    if (!HasItsName()) {
        Discard();
        errno = ENOENT;
        return false;
    }
    return close(_file.Release()) == 0 || errno == EINTR;
}

bool ArrivingFile::MoveTo(const std::string &name)
{
    if (renameat(_folder->Get(), _partial.c_str(), _folder->Get(), name.c_str()) != 0)
        return false;
    _partial.clear();
    return true;
}

bool ArrivingFile::DeliverToFree()
{
    errno = RenameToFree(_folder->Get(), _partial.c_str(), _name.c_str());
    if (errno == 0)
        _partial.clear();
    return _partial.empty();
}

bool ArrivingFile::Deliver()
{
    return MoveTo(_name);
}

bool ArrivingFile::ReplaceLesser(const std::string &name)
{
    return HoldsAllOf(_folder->Get(), _partial, name) && MoveTo(name);
}

// An empty file takes the name first, so that no other file is ever replaced.
std::string ArrivingFile::DeliverAsDamaged()
{
    if (ReplaceLesser(_name))
        return _name;
    for (unsigned number = 1; number < kMostNumbers; ++number) {
        std::string name = DamagedName(_name, number, _longest);
        const UniqueFd taken(CreateLocalFile(_folder->Get(), name.c_str()));
        if (!taken && errno == EEXIST) {
            if (ReplaceLesser(name))
                return name;
            continue;
        }
        if (!taken)
            return "";
        if (MoveTo(name))
            return name;
        unlinkat(_folder->Get(), name.c_str(), 0);
        return "";
    }
    return "";
}

// What another program has put under the hidden name stays.
void ArrivingFile::Discard()
{
    if (_file && !_partial.empty() && !HasItsName())
        _partial.clear();
    _file.Close();
    if (!_partial.empty())
        unlinkat(_folder->Get(), _partial.c_str(), 0);
    _partial.clear();
}

}  // namespace vx
