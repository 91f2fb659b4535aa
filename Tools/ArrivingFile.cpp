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
    const int file = CreatePartial();
    if (file < 0)
        return nullptr;
    if (replaced != nullptr)
        TakeAfter(file, *replaced);
    struct stat made;
    if (fstat(file, &made) == 0)
        _identity = IdentityOf(made);
    FILE *stream = fdopen(file, "w");
    if (stream == nullptr)
        close(file);
    return stream;
}

int ArrivingFile::CreatePartial()
{
    for (unsigned number = 1; number < kMostNumbers; ++number) {
        const std::string partial = PartialName(_name, number, _longest);
        const int file = CreateLocalFile(_folder, partial.c_str());
        if (file >= 0)
            _partial = partial;
        if (file >= 0 || errno != EEXIST)
            return file;
    }
    return -1;
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

// The name is taken by an empty file first, so that nothing that has it is ever replaced.
std::string ArrivingFile::DeliverAsDamaged()
{
    for (unsigned number = 1; number < kMostNumbers; ++number) {
        std::string name = DamagedName(_name, number, _longest);
        const int taken = CreateLocalFile(_folder, name.c_str());
        if (taken < 0 && errno == EEXIST)
            continue;
        if (taken < 0)
            return "";
        close(taken);
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
