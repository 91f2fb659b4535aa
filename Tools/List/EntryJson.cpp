#include "EntryJson.h"

#include "IsoTime.h"
#include "JsonText.h"
#include "ObstacleText.h"

#include <algorithm>
#include <iterator>

namespace vx {
namespace {

// Microsoft Learn, "File Attribute Constants"; on disk 0x40000 marks extended attributes.
constexpr const char *kAttributeNames[] = {
    "read-only",
    "hidden",
    "system",
    nullptr,
    "folder",
    "archive",
    "device",
    "normal",
    "temporary",
    "sparse",
    "reparse-point",
    "compressed",
    "offline",
    "not-indexed",
    "encrypted",
    "integrity-stream",
    "virtual",
    "no-scrub-data",
    "extended-attributes",
    "pinned",
    "unpinned",
    nullptr,
    "recall-on-data-access",
};

struct TagName {
    uint32_t tag;
    const char *name;
};

// Microsoft Learn, "Reparse Point Tags"; the cloud tags differ in the digit that is masked.
constexpr uint32_t kCloudTag = 0x9000001A;
constexpr uint32_t kCloudMask = 0xFFFF0FFF;
constexpr TagName kTagNames[] = {
    {kReparseTagSymlink, "symlink"},
    {0xA0000003, "mount-point"},
    {0x80000017, "packed"},
    {0x80000013, "deduplicated"},
    {0x8000001B, "app-link"},
    {0xA000001D, "linux-symlink"},
    {0x80000018, "container"},
    {0x9000001C, "projected"},
    {0x8000001E, "storage-sync"},
    {0xC0000004, "hsm"},
    {0x80000006, "hsm"},
};

std::string Quoted(const char *word)
{
    return word == nullptr ? "null" : std::string("\"").append(word).append("\"");
}

const char *TagKind(uint32_t tag)
{
    if ((tag & kCloudMask) == kCloudTag)
        return "cloud";
    for (const TagName &known : kTagNames) {
        if (known.tag == tag)
            return known.name;
    }
    return "other";
}

std::string TimeJson(uint64_t fileTime)
{
    return fileTime == 0 ? "null" : Quoted(IsoTime(fileTime).c_str());
}

std::string AttributeNamesJson(uint32_t attributes)
{
    std::string names;
    for (size_t bit = 0; bit < std::size(kAttributeNames); ++bit) {
        if ((attributes >> bit & 1) == 0 || kAttributeNames[bit] == nullptr)
            continue;
        names.append(names.empty() ? "" : ",").append(Quoted(kAttributeNames[bit]));
    }
    return "[" + names + "]";
}

uint32_t TagOf(const ListedEntry &entry)
{
    return entry.record.reparseTag != 0 ? entry.record.reparseTag : entry.report.reparseTag;
}

std::string ReparseJson(const ListedEntry &entry)
{
    const uint32_t tag = TagOf(entry);
    if (tag == 0)
        return "null";
    return "{\"tag\":" + std::to_string(tag) + ",\"kind\":" + Quoted(TagKind(tag)) + "}";
}

std::string TargetJson(const ListedEntry &entry)
{
    const auto &units = entry.report.target;
    const auto *end = std::find(std::begin(units), std::end(units), u'\0');
    const std::u16string target(std::begin(units), end);
    return target.empty() ? "null" : JsonText(target);
}

const char *ReasonOf(const ListedEntry &entry)
{
    if (!entry.hasTextName)
        return "name";
    if (entry.report.obstacle != VolumeObstacle::kNone || entry.isListable)
        return ObstacleName(entry.report.obstacle);
    return "not-listable";
}

std::string StreamsJson(const std::vector<VolumeStream> &streams)
{
    std::string objects;
    for (const VolumeStream &stream : streams) {
        objects.append(objects.empty() ? "" : ",");
        objects += "{\"name\":" + JsonText(stream.name) + ",\"size\":";
        objects += (stream.size == kUnknownStreamSize ? "null" : std::to_string(stream.size)) + "}";
    }
    return "[" + objects + "]";
}

std::string ListingMembers(const VolumeListingReport &report)
{
    return std::string("{\"whole\":") + (report.isWhole ? "true" : "false") +
           ",\"missing\":" + std::to_string(report.missingEntries) +
           ",\"recovered\":" + std::to_string(report.recoveredEntries) +
           ",\"reason\":" + Quoted(ObstacleName(report.reason)) + "}";
}

}  // namespace

const char *TypeName(const FolderRecord &record)
{
    if (record.IsLink())
        return "link";
    return record.IsFolder() ? "folder" : "file";
}

std::string EntryJson(const ListedEntry &entry)
{
    const FolderRecord &record = entry.record;
    const char *reason = ReasonOf(entry);
    std::string json = "{\"type\":" + Quoted(TypeName(record));
    json += ",\"path\":" + JsonText(entry.path);
    json += ",\"size\":" + std::to_string(record.size);
    json += ",\"streams\":" + StreamsJson(entry.streams);
    json += std::string(",\"allStreams\":") + (entry.areAllStreams ? "true" : "false");
    json += ",\"modified\":" + TimeJson(record.modified);
    json += ",\"created\":" + TimeJson(record.created);
    json += ",\"accessed\":" + TimeJson(record.accessed);
    json += ",\"attributes\":" + std::to_string(record.attributes);
    json += ",\"attributeNames\":" + AttributeNamesJson(record.attributes);
    json += ",\"reparse\":" + ReparseJson(entry);
    json += ",\"target\":" + TargetJson(entry);
    json += std::string(",\"exportable\":") + (reason == nullptr ? "true" : "false");
    json += ",\"reason\":" + Quoted(reason);
    json += ",\"listing\":" + (entry.listing ? ListingMembers(*entry.listing) : "null");
    return json + "}";
}

std::string ListingJson(const std::u16string &path, const VolumeListingReport &report)
{
    return "{\"type\":\"listing\",\"path\":" + JsonText(path.empty() ? u"/" : path) +
           ",\"listing\":" + ListingMembers(report) + "}";
}

}  // namespace vx
