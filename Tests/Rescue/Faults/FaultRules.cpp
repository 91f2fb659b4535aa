#include "FaultRules.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vx {
namespace {

// Past the functions that this library stands in for.
int OpenPast(const char *path, int flags)
{
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, 0600));
}

std::string ContentsOf(const char *path)
{
    const int file = OpenPast(path, O_RDONLY);
    std::string text;
    char bytes[4096];
    long got = 0;
    while (file >= 0 && (got = syscall(SYS_read, file, bytes, sizeof bytes)) > 0)
        text.append(bytes, static_cast<size_t>(got));
    if (file < 0 || got < 0) {
        std::fprintf(stderr, "faults: cannot read %s\n", path);
        _exit(99);
    }
    close(file);
    return text;
}

std::vector<std::string> WordsOf(const std::string &line)
{
    std::vector<std::string> words;
    std::stringstream rest(line);
    std::string word;
    while (std::getline(rest, word, '\t'))
        words.push_back(word);
    return words;
}

int64_t NumberOf(const std::string &word)
{
    return std::strtoll(word.c_str(), nullptr, 10);
}

uint64_t PlaceOf(const std::string &word)
{
    return std::strtoull(word.c_str(), nullptr, 10);
}

int CodeOf(const std::string &word)
{
    return static_cast<int>(NumberOf(word));
}

// A slow disk.
void Sleep(unsigned milliseconds)
{
    timespec left = {milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

ssize_t FailWith(int error)
{
    errno = error;
    return -1;
}

}  // namespace

FaultRules &FaultRules::Get()
{
    // Never destroyed: threads may read until the process is over.
    static FaultRules &rules = *new FaultRules;
    return rules;
}

FaultRules::FaultRules()
{
    const char *path = std::getenv("VX_FAULTS");
    if (path == nullptr)
        return;
    std::stringstream lines(ContentsOf(path));
    std::string line;
    while (std::getline(lines, line))
        Take(line);
}

void FaultRules::Take(const std::string &line)
{
    const std::vector<std::string> words = WordsOf(line);
    if (words.size() >= 2 && (TakeSource(words) || TakeDestination(words)))
        return;
    std::fprintf(stderr, "faults: not understood: %s\n", line.c_str());
    _exit(99);
}

bool FaultRules::TakeSource(const std::vector<std::string> &words)
{
    const std::string &what = words[0];
    if (what == "log") {
        _log = OpenPast(words[1].c_str(), O_WRONLY | O_CREAT | O_APPEND);
        return _log >= 0;
    }
    if (what == "image") {
        struct stat found = {};
        if (syscall(SYS_newfstatat, AT_FDCWD, words[1].c_str(), &found, 0) != 0)
            return false;
        _images.push_back({words[1], found.st_dev, found.st_ino});
        return true;
    }
    if (what == "bad" && words.size() == 7) {
        _bad.emplace_back();
        Bad &bad = _bad.back();
        bad.image = PlaceOf(words[1]);
        bad.start = PlaceOf(words[2]);
        bad.end = PlaceOf(words[3]);
        bad.error = CodeOf(words[4]);
        bad.times = NumberOf(words[5]);
        bad.milliseconds = static_cast<unsigned>(NumberOf(words[6]));
        return true;
    }
    if (what == "gone" && words.size() == 5) {
        _gone.push_back({PlaceOf(words[1]), PlaceOf(words[2]), PlaceOf(words[3])});
        _goneError = CodeOf(words[4]);
        return true;
    }
    return false;
}

bool FaultRules::TakeDestination(const std::vector<std::string> &words)
{
    const std::string &what = words[0];
    if (what == "destination") {
        _destination = words[1];
    } else if (what == "room" && words.size() == 3) {
        _room = NumberOf(words[1]);
        _roomError = CodeOf(words[2]);
    } else if (what == "hiccup" && words.size() == 3) {
        _writesToHiccup = NumberOf(words[1]);
        _hiccupError = CodeOf(words[2]);
    } else if (what == "refuse") {
        _refusal = CodeOf(words[1]);
    } else if (what == "names") {
        _nameBytes = PlaceOf(words[1]);
    } else {
        return false;
    }
    return true;
}

int FaultRules::ImageOf(int file) const
{
    if (_images.empty())
        return -1;
    struct stat found = {};
    if (syscall(SYS_fstat, file, &found) != 0)
        return -1;
    for (size_t i = 0; i < _images.size(); ++i) {
        if (_images[i].inode == found.st_ino && _images[i].device == found.st_dev)
            return static_cast<int>(i);
    }
    return -1;
}

ssize_t FaultRules::Readable(int file, uint64_t offset, size_t count)
{
    const int number = ImageOf(file);
    if (number < 0)
        return static_cast<ssize_t>(count);
    const auto image = static_cast<size_t>(number);
    const auto touches = [&](const auto &range) {
        return range.image == image && range.start < offset + count && offset < range.end;
    };
    if (std::any_of(_gone.begin(), _gone.end(), touches))
        _isGone = true;
    if (_isGone) {
        Log(image, offset);
        return FailWith(_goneError);
    }
    ssize_t readable = static_cast<ssize_t>(count);
    for (Bad &bad : _bad) {
        if (bad.times == 0 || !touches(bad))
            continue;
        const ssize_t good = UpTo(bad, offset);
        if (good < 0)
            return good;
        if (bad.error != 0)
            readable = std::min(readable, good);
    }
    return readable;
}

// Only a read that begins in the bad place fails; it is then one failure nearer to its end.
ssize_t FaultRules::UpTo(Bad &bad, uint64_t offset)
{
    if (bad.milliseconds != 0)
        Sleep(bad.milliseconds);
    if (offset < bad.start || bad.error == 0)
        return static_cast<ssize_t>(bad.start - std::min(offset, bad.start));
    if (bad.times > 0)
        --bad.times;
    Log(bad.image, offset);
    return FailWith(bad.error);
}

void FaultRules::Log(size_t image, uint64_t offset) const
{
    char line[64];
    const int length = std::snprintf(line, sizeof line, "%zu\t%llu\n", image,
                                     static_cast<unsigned long long>(offset));
    if (_log >= 0)
        (void)syscall(SYS_write, _log, line, length);
}

bool FaultRules::IsInDestination(const std::string &path) const
{
    return !_destination.empty() && path.compare(0, _destination.size(), _destination) == 0 &&
           (path.size() == _destination.size() || path[_destination.size()] == '/');
}

bool FaultRules::IsFaulty(int file) const
{
    if (_destination.empty())
        return false;
    char target[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    const ssize_t length = readlink(link.c_str(), target, sizeof target);
    return length > 0 && IsInDestination(std::string(target, static_cast<size_t>(length)));
}

ssize_t FaultRules::Writable(int file, size_t count)
{
    if (count == 0 || !IsFaulty(file))
        return static_cast<ssize_t>(count);
    if (_writesToHiccup > 0 && --_writesToHiccup == 0)
        return FailWith(_hiccupError);
    if (_room < 0)
        return static_cast<ssize_t>(count);
    const int64_t room = _room;
    const int64_t taken = std::min(room, static_cast<int64_t>(count));
    if (taken == 0)
        return FailWith(_roomError);
    _room -= taken;
    return taken;
}

int FaultRules::ErrorOfPath(const std::string &path) const
{
    // A folder may be opened again through itself.
    const auto is = [&](const Image &image) {
        return path == image.path || path == image.path + "/.";
    };
    return _isGone && std::any_of(_images.begin(), _images.end(), is) ? ENOENT : 0;
}

int FaultRules::ErrorOfChange(const std::string &path) const
{
    if (!IsInDestination(path))
        return 0;
    if (_refusal != 0)
        return _refusal;
    size_t length = 0;
    for (size_t at = _destination.size(); _nameBytes != 0 && at < path.size(); ++at) {
        length = path[at] == '/' ? 0 : length + 1;
        if (length > _nameBytes)
            return ENAMETOOLONG;
    }
    return 0;
}

}  // namespace vx
