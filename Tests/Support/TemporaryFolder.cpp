#include "TemporaryFolder.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vx {
namespace {

struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};
struct CloseStream {
    void operator()(FILE *stream) const { std::fclose(stream); }
};
struct FreeMemory {
    void operator()(char *memory) const { std::free(memory); }
};

void Require(bool done, const std::string &what)
{
    if (!done)
        throw std::system_error(errno, std::generic_category(), what);
}

std::string MakeUniqueFolder()
{
    const char *parent = std::getenv("TMPDIR");
    std::string path = std::string(parent != nullptr ? parent : "/tmp") + "/vx-test-XXXXXX";
    Require(mkdtemp(path.data()) != nullptr, path);
    const std::unique_ptr<char, FreeMemory> canonical(realpath(path.c_str(), nullptr));
    Require(canonical != nullptr, path);
    return canonical.get();
}

bool IsSelfOrParent(std::string_view name)
{
    return name == "." || name == "..";
}

// Relative to an open folder, so that a path of any length can be removed.
void RemoveEntry(int parent, const char *name)
{
    if (unlinkat(parent, name, 0) == 0)
        return;
    // It is a folder, then, and perhaps one that a test has locked.
    if (fchmodat(parent, name, 0700, 0) != 0)
        return;
    const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0)
        return;
    const std::unique_ptr<DIR, CloseFolder> folder(fdopendir(descriptor));
    while (const dirent *entry = readdir(folder.get())) {
        if (!IsSelfOrParent(entry->d_name))
            RemoveEntry(descriptor, entry->d_name);
    }
    unlinkat(parent, name, AT_REMOVEDIR);
}

std::unique_ptr<FILE, CloseStream> OpenStream(const std::string &path, const char *mode)
{
    std::unique_ptr<FILE, CloseStream> stream(std::fopen(path.c_str(), mode));
    Require(stream != nullptr, path);
    return stream;
}

}  // namespace

TemporaryFolder::TemporaryFolder() : _path(MakeUniqueFolder()) {}

TemporaryFolder::~TemporaryFolder()
{
    RemoveEntry(AT_FDCWD, _path.c_str());
}

std::string TemporaryFolder::MakeFolder(const std::string &relative) const
{
    std::string path = At(relative);
    MakeParents(relative);
    Require(mkdir(path.c_str(), 0755) == 0 || errno == EEXIST, path);
    return path;
}

std::string TemporaryFolder::WriteFile(const std::string &relative, std::string_view contents) const
{
    std::string path = At(relative);
    MakeParents(relative);
    const auto stream = OpenStream(path, "wb");
    const size_t written = std::fwrite(contents.data(), 1, contents.size(), stream.get());
    Require(written == contents.size() && std::fflush(stream.get()) == 0, path);
    return path;
}

std::string TemporaryFolder::MakeSparseFile(const std::string &relative, long long bytes) const
{
    std::string path = WriteFile(relative, "");
    Require(truncate(path.c_str(), bytes) == 0, path);
    return path;
}

std::string TemporaryFolder::MakeLink(const std::string &relative, const std::string &text) const
{
    std::string path = At(relative);
    MakeParents(relative);
    Require(symlink(text.c_str(), path.c_str()) == 0, path);
    return path;
}

std::string TemporaryFolder::ReadFile(const std::string &relative) const
{
    const std::string path = At(relative);
    const auto stream = OpenStream(path, "rb");
    std::string contents;
    char chunk[65536];
    while (const size_t got = std::fread(chunk, 1, sizeof chunk, stream.get()))
        contents.append(chunk, got);
    Require(std::ferror(stream.get()) == 0, path);
    return contents;
}

void TemporaryFolder::MakeParents(const std::string &relative) const
{
    for (size_t slash = relative.find('/'); slash != relative.npos;
         slash = relative.find('/', slash + 1)) {
        const std::string path = At(relative.substr(0, slash));
        Require(mkdir(path.c_str(), 0755) == 0 || errno == EEXIST, path);
    }
}

}  // namespace vx
