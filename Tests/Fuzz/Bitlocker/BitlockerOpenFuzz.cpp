// Fuzz target: describing and opening whole volumes, and reading from those that open.
//
// An input chooses one of a few sound volumes, and says how to damage it and where to cut it off:
//   u8 volume, u8 flags (1: renew the checksums, 2: no secret), u16 cut (in 4 KiB, 0: none),
//   then patches: u8 place, u16 offset, u8 value
#include "../HeapLimit.h"
#include "FuzzVolumes.h"

#include "ByteReader.h"
#include "Container.h"
#include "DiskDescription.h"
#include "Maker/MetadataWriter.h"
#include "MemoryByteSource.h"
#include "VolumeChoice.h"
#include "VolumeOpener.h"

#include <cstdlib>

using namespace vx;
using namespace vx::bitlocker;

namespace {

constexpr uint8_t kRenewChecksums = 1;
constexpr uint8_t kNoSecret = 2;
constexpr size_t kCutUnit = 4096;

bool CanRenew(const std::vector<uint8_t> &image, uint64_t copy)
{
    ByteReader reader(image, static_cast<size_t>(copy) + 8);
    const size_t stored = reader.U16();
    const size_t covered = reader.U16() == 1 ? stored : stored * 16;
    return reader.Good() && copy + covered + 8 <= image.size();
}

std::vector<uint8_t> Damaged(const FuzzVolume &volume, ByteReader &reader, uint8_t flags,
                             size_t cut)
{
    std::vector<uint8_t> image = volume.image;
    if (cut != 0 && cut * kCutUnit < image.size())
        image.resize(cut * kCutUnit);
    while (reader.Left() >= 4) {
        const size_t place = volume.places[reader.U8() % volume.places.size()] + reader.U16();
        const uint8_t value = reader.U8();
        if (place < image.size())
            image[place] = value;
    }
    for (uint64_t copy : volume.plan.copies)
        if ((flags & kRenewChecksums) != 0 && CanRenew(image, copy))
            maker::RenewChecksum(image, copy);
    return image;
}

// Reading may fail, but only with a status.
void ReadSome(const DecryptedVolume &volume)
{
    uint8_t buffer[1500];
    const uint64_t size = volume.Size();
    for (uint64_t offset : {uint64_t{0}, uint64_t{511}, size / 4, size / 2, size - size / 3}) {
        const Error error = volume.ReadAt(offset, buffer, sizeof buffer);
        if (error && error.detail.empty())
            std::abort();
    }
}

void Require(bool condition)
{
    if (!condition)
        std::abort();
}

// Whatever the disk holds, each text is there, and no more is reported of it than it has.
void Describe(const std::shared_ptr<const ByteSource> &source)
{
    const Container container = {source};
    const auto described = DescribeDiskContents(container, {"", 0, {}});
    if (!described)
        return;
    const DiskReport &report = **described;
    for (uint64_t i = 0; i < report.volumeCount; ++i) {
        const DiskVolumeReport &volume = report.volumes[i];
        Require(volume.kind != nullptr && volume.kindText != nullptr && volume.label != nullptr);
        const DiskEncryptionReport *encryption = volume.encryption;
        if (encryption == nullptr)
            continue;
        Require(encryption->encryptedBytes <= volume.bytes ||
                encryption->encryptedBytes == kUnknownEncryptedBytes);
        Require(encryption->method != nullptr && encryption->description != nullptr);
        for (uint64_t j = 0; j < encryption->protectorCount; ++j)
            Require(encryption->protectors[j].identifier != nullptr);
        for (uint64_t j = 0; j < encryption->copyCount; ++j)
            Require(encryption->copies[j].problem != nullptr);
    }
    for (uint64_t i = 0; i < report.warningCount; ++i)
        Require(report.warnings[i] != nullptr && *report.warnings[i] != '\0');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::vector<FuzzVolume> volumes = MakeFuzzVolumes();
    static const Result<Secret> password = Secret::FromPassword(kFuzzPassword);
    const vx::HeapLimit limit;
    ByteReader reader({data, size});
    const FuzzVolume &volume = volumes[reader.U8() % volumes.size()];
    const uint8_t flags = reader.U8();
    const size_t cut = reader.U16();
    const auto source = std::make_shared<MemoryByteSource>(Damaged(volume, reader, flags, cut));
    Describe(source);
    const Secret none = Secret::None();
    const Result<UnlockedVolume> opened =
        VolumeOpener(source, nullptr, KeyStretcher(1)).Open(flags & kNoSecret ? none : *password);
    if (opened)
        ReadSome(*opened->volume);
    else if (opened.Failure().status == Status::kOk)
        std::abort();
    return 0;
}
