#include "VisitVolume.h"

#include "../Require.h"
#include "FileSystemVolume.h"

#include <algorithm>
#include <set>
#include <string>

namespace vx {
namespace {

constexpr int kDeepest = 4;

class Visit {
public:
    explicit Visit(OwnedVolume &volume) : _volume(volume) {}

    void Folder(const std::u16string &folder, int depth)
    {
        VolumeFindData record = {};
        const VolumeHandle search = _volume.FindFirstFile((folder + u"/*").c_str(), &record);
        if (search == nullptr)
            return;
        bool more = record.name[0] != 0;
        while (more && --_steps > 0) {
            Require(std::find(std::begin(record.name), std::end(record.name), 0) !=
                        std::end(record.name),
                    "a name ends");
            const std::u16string path = folder + u"/" + record.name;
            File(path);
            if (depth < kDeepest && (record.attributes & kVolumeAttributeDirectory) != 0)
                Folder(path, depth + 1);
            more = _volume.FindNextFile(search, &record);
        }
        VolumeListingReport report;
        Require(_volume.DescribeListing(search, &report), "a listing has a report");
        Require(report.isWhole == (report.reason == VolumeObstacle::kNone),
                "a reason is given exactly where entries are missing");
        _volume.FindClose(search);
    }

private:
    void File(const std::u16string &path)
    {
        auto report = std::make_unique<VolumeEntryReport>();
        Require(_volume.DescribeEntry(path.c_str(), report.get()), "an entry has a report");
        Streams(path);
        const VolumeHandle file = _volume.OpenFile(path.c_str(), 128, 3, 25);
        if (file != nullptr)
            ReadAndClose(file);
    }

    void Streams(const std::u16string &path)
    {
        std::set<std::u16string> names;
        const auto take = [](void *context, const char16_t *name, uint64_t) {
            Require(static_cast<std::set<std::u16string> *>(context)->insert(name).second,
                    "a stream is visited once");
        };
        _volume.VisitStreams(path.c_str(), take, &names);
        for (const std::u16string &name : names) {
            VolumeHandle stream = nullptr;
            if (--_steps > 0 && _volume.OpenStream(path.c_str(), name.c_str(), &stream))
                ReadAndClose(stream);
        }
    }

    void ReadAndClose(VolumeHandle file)
    {
        char bytes[3000];
        uint32_t done = 0;
        while (--_steps > 0 && _volume.ReadFile(file, bytes, sizeof bytes, &done) && done > 0)
            Require(done <= sizeof bytes, "no more is read than was asked for");
        uint32_t low = 0xFFFFF000;
        uint32_t high = 0x7FFFFFFF;
        _volume.SetFilePosition(file, &low, &high, 0);
        _volume.ReadFile(file, bytes, sizeof bytes, &done);
        _volume.CloseHandle(file);
    }

    OwnedVolume &_volume;
    int _steps = 100;
};

}  // namespace

void VisitVolume(std::unique_ptr<FileSystem> fileSystem)
{
    Require(fileSystem != nullptr, "what opened is there");
    FileSystemVolume volume(std::move(fileSystem));
    VolumeFileSystemReport report;
    Require(volume.DescribeFileSystem(&report), "a file system has a report");
    Require(report.freeBytes == kUnknownBytes || report.freeBytes <= report.totalBytes,
            "no more is free than there is");
    Require(report.name[0] != 0 && report.label[sizeof report.label - 1] == 0, "its texts end");
    Visit(volume).Folder(u"", 0);
}

}  // namespace vx
