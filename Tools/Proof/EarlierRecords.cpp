#include "EarlierRecords.h"

#include "ManifestReader.h"

#include <algorithm>
#include <cerrno>
#include <functional>

namespace vx {
namespace {

// Most records fit into it.
constexpr size_t kOneRecord = 512;

}  // namespace

uint64_t EarlierRecords::HashOf(const std::string &path)
{
    return std::hash<std::string>()(path);
}

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
        if (ReadAt(after->offset, record) && record->path == path)
            return true;
    }
    return false;
}

bool EarlierRecords::ReadAt(int64_t place, ManifestRecord *record) const
{
    return ManifestReader(_file, place, kOneRecord).Next(record);
}

std::vector<int64_t> EarlierRecords::PlacesOfOthers(const std::vector<uint64_t> &paths) const
{
    std::vector<int64_t> places;
    for (size_t i = 0; i < _places.size(); ++i) {
        const bool isLast = i + 1 == _places.size() || _places[i + 1].hash != _places[i].hash;
        if (isLast && !std::binary_search(paths.begin(), paths.end(), _places[i].hash))
            places.push_back(_places[i].offset);
    }
    std::sort(places.begin(), places.end());
    return places;
}

}  // namespace vx
