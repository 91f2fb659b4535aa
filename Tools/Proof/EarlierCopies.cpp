#include "EarlierCopies.h"

#include "CopyTime.h"
#include "DamageMark.h"
#include "Journal.h"
#include "LocalFile.h"
#include "PlanNames.h"
#include "StopRequest.h"
#include "UniqueFd.h"

#include <fcntl.h>
#include <utility>

namespace vx {
namespace {

bool GoesOn(int64_t)
{
    return StopRequest::Signal() == 0;
}

// Without a hash list only the mark says so; it has the size and the date of a whole file.
bool IsDamaged(int folder, const std::string &name)
{
    const UniqueFd copy = OpenArrived(folder, name);
    return !copy || IsMarkedDamaged(copy.Get());
}

}  // namespace

bool EarlierCopies::IsComplete(ExportPlan::Number number, int folder, const std::string &name,
                               ArrivedFiles::File *file)
{
    const PlanEntry &entry = _plan.At(number);
    struct stat found;
    if (fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(found.st_mode) ||
        !HasSizeAndTime(entry, found, _settings, _settings.journal != nullptr))
        return false;
    file->number = number;
    file->size = entry.size;
    if (_settings.journal == nullptr)
        return !IsDamaged(folder, name);
    bool isChanged = false;
    return HasContents(entry, _names.PathOf(number, &isChanged), folder, name, file);
}

bool EarlierCopies::HasSizeAndTime(const PlanEntry &entry, const struct stat &found,
                                   const Settings &settings, bool hasList)
{
    if (found.st_size != entry.size)
        return false;
    const bool hasTime = settings.comparesTimes && settings.timeStep > 0 && entry.modified != 0;
    return hasTime ? IsSameTime(ModifiedOf(found), entry.modified, settings.timeStep) : hasList;
}

bool EarlierCopies::HasContents(const PlanEntry &entry, const std::string &path, int folder,
                                const std::string &name, ArrivedFiles::File *file)
{
    ManifestRecord record;
    if (!_settings.journal->Find(path, &record) || record.isDamaged || record.size != entry.size ||
        record.modified != entry.modified)
        return false;
    const UniqueFd copy = OpenArrived(folder, name);
    if (!copy)
        return false;
    std::unique_ptr<CopyOnDisk> reader = TakeReader();
    int64_t size = 0;
    const CopyOnDisk::End end = reader->Hash(copy.Get(), GoesOn, &file->digest, &size);
    GiveBack(std::move(reader));
    return end == CopyOnDisk::End::kWhole && size == entry.size && file->digest == record.digest;
}

std::unique_ptr<CopyOnDisk> EarlierCopies::TakeReader()
{
    {
        const MutexLock lock(_mutex);
        if (!_readers.empty()) {
            std::unique_ptr<CopyOnDisk> reader = std::move(_readers.back());
            _readers.pop_back();
            return reader;
        }
    }
    return std::make_unique<CopyOnDisk>();
}

void EarlierCopies::GiveBack(std::unique_ptr<CopyOnDisk> reader)
{
    const MutexLock lock(_mutex);
    _readers.push_back(std::move(reader));
}

}  // namespace vx
