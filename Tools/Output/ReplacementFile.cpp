#include "ReplacementFile.h"

#include "PathText.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace vx {
namespace {

constexpr size_t kBufferSize = 65536;
constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr unsigned kMostNumbers = 1000;

// The name of a file is durable when its folder is. Not every file system can do that.
bool SyncFolder(const std::string &path)
{
    const UniqueFd folder(open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder && (fsync(folder.Get()) == 0 || errno == EINVAL);
}

}  // namespace

std::string PartialPathOf(const std::string &path, unsigned number)
{
    const std::string name = path.substr(path.rfind('/') + 1);
    const std::string mark = number == 1 ? "" : "." + std::to_string(number);
    return path.substr(0, path.size() - name.size()) + "." + name + mark + ".partial";
}

ReplacementFile::ReplacementFile(std::string path) : _path(std::move(path)) {}

ReplacementFile::~ReplacementFile()
{
    if (_file)
        unlink(_partial.c_str());
}

bool ReplacementFile::Note(bool done)
{
    if (!done && _error == 0)
        _error = errno;
    return _error == 0;
}

bool ReplacementFile::Create()
{
    errno = EEXIST;
    for (unsigned number = 1; !_file && errno == EEXIST && number <= kMostNumbers; ++number) {
        _partial = PartialPathOf(_path, number);
        _file = UniqueFd(open(_partial.c_str(), kNew, 0666));
    }
    if (!Note(bool(_file)))
        return false;
    TakeAfter();
    return true;
}

// The permissions of the file that it replaces.
void ReplacementFile::TakeAfter()
{
    struct stat found;
    if (lstat(_path.c_str(), &found) == 0 && S_ISREG(found.st_mode))
        (void)fchmod(_file.Get(), found.st_mode & 0777);
}

void ReplacementFile::Write(std::string_view text)
{
    _buffer.append(text);
    if (_buffer.size() >= kBufferSize)
        Flush();
}

bool ReplacementFile::Flush()
{
    size_t written = 0;
    while (_error == 0 && written < _buffer.size()) {
        const ssize_t now = write(_file.Get(), _buffer.data() + written, _buffer.size() - written);
        if (now >= 0)
            written += static_cast<size_t>(now);
        else if (errno != EINTR)
            Note(false);
    }
    _buffer.clear();
    return _error == 0;
}

bool ReplacementFile::Deliver()
{
    if (!Flush() || !Note(fsync(_file.Get()) == 0) ||
        !Note(rename(_partial.c_str(), _path.c_str()) == 0))
        return false;
    _file.Close();
    return Note(SyncFolder(_path));
}

}  // namespace vx
