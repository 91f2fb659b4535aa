#include "ArrivingFile.h"

#include "LocalFileOpening.h"
#include "NameForms.h"

#include <cerrno>
#include <unistd.h>

namespace vx {
namespace {

// Names that other runs may have left.
constexpr unsigned kMostNumbers = 10000;

constexpr mode_t kPermissions = 0777;

void TakeAfter(int file, const struct stat &replaced)
{
    // Not every file system keeps owners, and not every user may give files away.
    const bool isGiven = fchown(file, replaced.st_uid, replaced.st_gid) == 0;
    const mode_t permissions = replaced.st_mode & kPermissions;
    if (isGiven || replaced.st_uid == geteuid())
        (void)fchmod(file, permissions);
}

}  // namespace

FILE *ArrivingFile::Create(int folder, const std::string &name, size_t longest,
                           const struct stat *replaced)
{
    Discard();
    _folder = folder;
    _name = name;
    _longest = longest;
    UniqueFd file = CreatePartial();
    if (!file)
        return nullptr;
    if (replaced != nullptr)
        TakeAfter(file.Get(), *replaced);
    struct stat made;
    if (fstat(file.Get(), &made) == 0)
        _identity = IdentityOf(made);
    FILE *stream = fdopen(file.Get(), "w");
    if (stream != nullptr)
        file.Release();
    return stream;
}

UniqueFd ArrivingFile::CreatePartial()
{
    for (unsigned number = 1; number < kMostNumbers; ++number) {
        const std::string partial = PartialName(_name, number, _longest);
        UniqueFd file(CreateLocalFile(_folder, partial.c_str()));
        if (file)
            _partial = partial;
        if (file || errno != EEXIST)
            return file;
    }
    return UniqueFd();
}

bool ArrivingFile::MoveTo(const std::string &name)
{
    if (renameat(_folder, _partial.c_str(), _folder, name.c_str()) != 0)
        return false;
    _partial.clear();
    return true;
}

bool ArrivingFile::Deliver()
{
    return MoveTo(_name);
}

// An empty file takes the name first, so that no other file is ever replaced.
std::string ArrivingFile::DeliverAsDamaged()
{
    for (unsigned number = 1; number < kMostNumbers; ++number) {
        std::string name = DamagedName(_name, number, _longest);
        const UniqueFd taken(CreateLocalFile(_folder, name.c_str()));
        if (!taken && errno == EEXIST)
            continue;
        if (!taken)
            return "";
        if (MoveTo(name))
            return name;
        unlinkat(_folder, name.c_str(), 0);
        return "";
    }
    return "";
}

void ArrivingFile::Discard()
{
    if (!_partial.empty())
        unlinkat(_folder, _partial.c_str(), 0);
    _partial.clear();
}

}  // namespace vx
