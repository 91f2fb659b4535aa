#include "PlacesSurvey.h"

#include "EntryObstacle.h"
#include "NumberText.h"
#include "OpenPlanned.h"
#include "PlanText.h"
#include "RescueMapWriter.h"
#include "UniqueFd.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kFew = 10;

bool Touches(const ByteRange &place, const ByteRanges &unread)
{
    return EndOfRangeAt(unread, place.offset) > place.offset ||
           NextRangeBegin(unread, place.offset) < place.offset + place.length;
}

// Whether records on the disk are missing that are needed to open the entry.
bool IsLost(VolumeObstacle obstacle)
{
    return obstacle == VolumeObstacle::kUnreadable || obstacle == VolumeObstacle::kDamaged;
}

// 0 if it is not known; an image in several parts is longer than its first one.
uint64_t BytesOf(const std::string &image)
{
    const UniqueFd file(open(image.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const off_t end = file ? lseek(file.Get(), 0, SEEK_END) : 0;
    return end > 0 ? static_cast<uint64_t>(end) : 0;
}

}  // namespace

void PlacesSurvey::Run()
{
    const ExportPlan &plan = _planned.plan;
    for (Number number = ExportPlan::kRoot; number != ExportPlan::kNone; number = plan.Next(number))
        Visit(number);
    for (const ByteRange &table : _session.Reports().TablesRead())
        _needed.Add(table.offset, table.length);
}

void PlacesSurvey::Visit(Number number)
{
    const PlanEntry &entry = _planned.plan.At(number);
    if (!entry.IsFolder()) {
        VisitFile(number);
        return;
    }
    const auto damaged = _planned.damagedFolders.find(number);
    const bool isUnread = damaged != _planned.damagedFolders.end() &&
                          damaged->second.reason != VolumeObstacle::kSameName;
    const std::u16string path = _planned.plan.PathOf(number);
    if (isUnread || (entry.Has(PlanEntry::kIsUnlistable) &&
                     IsLost(ObstacleOf(entry, path, _session.Reports()))))
        _unreadable.push_back(number);
}

// What the export reads of a file besides its contents is read here as well.
void PlacesSurvey::VisitFile(Number number)
{
    const ExportPlan &plan = _planned.plan;
    const VolumeObstacle obstacle = ObstacleOf(plan, number, _session.Reports());
    const OpenVolumeFile file = OpenPlanned(_session.Volume(), plan, number);
    if (!file) {
        if (IsLost(obstacle) || plan.At(number).Has(PlanEntry::kIsStream))
            _unreadable.push_back(number);
        return;
    }
    bool isHoled = false;
    for (const ByteRange &place : _session.Reports().Places(file.Handle())) {
        isHoled = isHoled || Touches(place, _session.Reading().unread);
        if (_session.Reading().recordsReads)
            _needed.Add(place.offset, place.length);
    }
    if (isHoled)
        _holed.push_back(number);
}

void PlacesSurvey::Print(bool all, FILE *stream) const
{
    const auto count = static_cast<int64_t>(_holed.size());
    PrintSome(CountText(count, "file lies", "files lie") +
                  " in part on what the map marks as not read, and " +
                  (count == 1 ? "gets" : "get") + " zeros there:",
              _holed, all, stream);
    PrintSome("Not read whole, since records on the disk are missing: " +
                  CountText(static_cast<int64_t>(_unreadable.size()), "file or folder",
                            "files and folders") +
                  ":",
              _unreadable, all, stream);
}

void PlacesSurvey::PrintSome(const std::string &heading, const Numbers &numbers, bool all,
                             FILE *stream) const
{
    if (numbers.empty())
        return;
    fprintf(stream, "%s\n", heading.c_str());
    const size_t shown = all ? numbers.size() : std::min(numbers.size(), kFew);
    for (size_t i = 0; i < shown; ++i)
        fprintf(stream, "  %s\n", ShownPathOf(_planned.plan, numbers[i]).c_str());
    if (shown < numbers.size())
        fprintf(stream, "  and %s more (--verbose names them)\n",
                GroupedText(static_cast<int64_t>(numbers.size() - shown)).c_str());
}

bool PlacesSurvey::WriteMap(const std::string &path, const std::string &image, std::string *error)
{
    return WriteRescueMap(path, _needed.All(), BytesOf(image), error);
}

}  // namespace vx
