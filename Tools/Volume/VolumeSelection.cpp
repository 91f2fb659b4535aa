#include "VolumeSelection.h"

#include "CodePoints.h"
#include "TerminalText.h"

#include <algorithm>
#include <string_view>

namespace vx {
namespace {

// UTF-8 up to the next "/", which is left out; false: not valid.
bool TakeName(std::string_view *path, std::u16string *name)
{
    name->clear();
    while (!path->empty()) {
        const char32_t character = TakeCharacter(path);
        if (character == kInvalidCharacter)
            return false;
        if (character == U'/')
            return true;
        name->push_back(FirstUnit(character));
        if (UnitCount(character) == 2)
            name->push_back(SecondUnit(character));
    }
    return true;
}

const FolderRecord *RecordNamed(const FolderRecords &folder, const std::u16string &name)
{
    const auto &records = folder.records;
    const auto found =
        std::find_if(records.begin(), records.end(),
                     [&name](const FolderRecord &record) { return record.name == name; });
    return found == records.end() ? nullptr : &*found;
}

}  // namespace

std::u16string NamedEntry::Path() const
{
    std::u16string path;
    for (const FolderRecord &record : way)
        path.append(u"/").append(record.name);
    return path;
}

bool FindEntry(FolderShelf &shelf, const std::string &path, NamedEntry *entry, std::string *error)
{
    const auto failAt = [&path, error](const char *reason) {
        *error = reason + TerminalText(path);
        return false;
    };
    std::string_view left = path;
    std::u16string name;
    std::u16string folder;
    entry->way.clear();
    while (!left.empty()) {
        if (!TakeName(&left, &name))
            return failAt("not valid UTF-8: ");
        if (name.empty())
            continue;
        if (!entry->IsFolder())
            return failAt("a file and not a folder is on the way to ");
        const FolderRecords *records = shelf.At(folder);
        if (records == nullptr)
            return failAt("a folder cannot be listed on the way to ");
        const FolderRecord *record = RecordNamed(*records, name);
        if (record == nullptr)
            return failAt("not on the volume: ");
        entry->way.push_back(*record);
        folder.append(u"/").append(name);
    }
    return true;
}

}  // namespace vx
