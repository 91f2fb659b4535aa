// Fuzz target: VHDX images, in the form of VhdxPieces.h. The flags: 1, the checksums are not
// repaired; 2, the parent has sectors of 4096 bytes.
#include "../HeapLimit.h"
#include "../Require.h"
#include "ByteReader.h"
#include "Crc32.h"
#include "MemoryByteSource.h"
#include "VhdxImage.h"
#include "VhdxLog.h"
#include "VhdxPieces.h"
#include "VisitSource.h"

using namespace vx;

namespace {

constexpr uint64_t kLogAt = kVhdxMiB;

// Reads nothing but the log.
class OnlyLog final : public ByteSource {
public:
    OnlyLog(std::shared_ptr<const ByteSource> file, const VhdxHeader &header)
        : _file(std::move(file)), _begin(header.logAt), _end(header.logAt + header.logBytes)
    {
    }

    uint64_t Size() const override { return _file->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        Require(offset >= _begin && offset + count <= _end, "only the log is read");
        return _file->ReadAt(offset, buffer, count);
    }

private:
    const std::shared_ptr<const ByteSource> _file;
    const uint64_t _begin;
    const uint64_t _end;
};

void RepairSum(uint64_t at, size_t bytes, PiecedSource *file)
{
    std::vector<uint8_t> covered(bytes);
    if (!file->ReadAt(at, covered.data(), covered.size()))
        file->WriteU32(at + 4, Crc32WithoutField(covered, 4, Crc32::Kind::kCastagnoli));
}

// Of an entry in the ring, if one begins here.
void RepairEntry(uint64_t at, PiecedSource *file)
{
    constexpr uint64_t kMostPages = 8;
    std::array<uint8_t, kVhdxLogPage> page;
    std::vector<uint8_t> entry;
    for (uint64_t pages = 1; pages > 0 && entry.size() < kMostPages * page.size(); --pages) {
        const uint64_t place = kLogAt + (at + entry.size()) % kVhdxMiB;
        if (file->ReadAt(place, page.data(), page.size()))
            return;
        if (entry.empty() && !ByteReader(page).TakeMark("loge"))
            return;
        if (entry.empty())
            pages = std::max<uint64_t>(U32At(page, 8) / page.size(), 1);
        entry.insert(entry.end(), page.begin(), page.end());
    }
    file->WriteU32(kLogAt + at + 4, Crc32WithoutField(entry, 4, Crc32::Kind::kCastagnoli));
}

void Repair(PiecedSource *file)
{
    RepairSum(64 << 10, 4096, file);
    RepairSum(128 << 10, 4096, file);
    RepairSum(192 << 10, 64 << 10, file);
    RepairSum(256 << 10, 64 << 10, file);
    for (const uint64_t page : {0, 1, 2, 3, 4, 5, 255})
        RepairEntry(page * kVhdxLogPage, file);
}

void ReplayAlone(const std::shared_ptr<const ByteSource> &file)
{
    const auto header = ReadVhdxHeader(*file);
    if (!header || !header->HasLog())
        return;
    const auto replayed = ReplayVhdxLog(std::make_shared<OnlyLog>(file, *header), *header);
    Require(replayed || !replayed.Failure().detail.empty(), "a failure has a text");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const uint8_t flags = size == 0 ? 0 : data[size - 1];
    const auto file = std::make_shared<PiecedSource>(data, size);
    if ((flags & 1) == 0)
        Repair(file.get());
    const HeapLimit limit;
    ReplayAlone(file);
    const ParentOpener openParent = [&](const ParentWanted &wanted) {
        Require(!wanted.identities.empty(), "a parent is known by an identifier");
        Container parent = {std::make_shared<MemoryByteSource>(std::vector<uint8_t>(70000, 'p'))};
        parent.sectorBytes = (flags & 2) == 0 ? 512 : 4096;
        return parent;
    };
    const auto image = OpenVhdx(file, openParent);
    if (!image) {
        Require(!image.Failure().detail.empty(), "a failure has a text");
        return 0;
    }
    Require(image->source != nullptr, "what opened has a disk");
    VisitSource(*image->source);
    return 0;
}
