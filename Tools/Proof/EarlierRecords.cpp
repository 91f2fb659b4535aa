#include "EarlierRecords.h"

#include "ManifestReader.h"

#include <algorithm>
#include <cerrno>
#include <functional>

namespace vx {
namespace {

// Most records fit into it.
constexpr size_t kOneRecord = 512;

uint64_t HashOf(const std::string &path)
{
    return std::hash<std::string>()(path);
}

}  // namespace

bool EarlierRecords::Read(int file, int64_t offset, int64_t *end)
{
    _file = file;
    ManifestReader reader(file, offset);
    ManifestRecord record;
    while (reader.Next(&record))
        _places.push_back({HashOf(record.path), reader.RecordBegin()});
    std::sort(_places.begin(), _places.end(), [](const Place &left, const Place &right) {
        return left.hash != right.hash ? left.hash < right.hash : left.offset < right.offset;
    });
    *end = reader.End();
    errno = reader.Error();
    return reader.Error() == 0;
}

bool EarlierRecords::Find(const std::string &path, ManifestRecord *record) const
{
    const uint64_t hash = HashOf(path);
    auto after =
        std::upper_bound(_places.begin(), _places.end(), hash,
                         [](uint64_t wanted, const Place &place) { return wanted < place.hash; });
    while (after != _places.begin() && (--after)->hash == hash) {
        ManifestReader reader(_file, after->offset, kOneRecord);
        if (reader.Next(record) && record->path == path)
            return true;
    }
    return false;
}

}  // namespace vx
