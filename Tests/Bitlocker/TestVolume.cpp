#include "TestVolume.h"

#include "Maker/ByteWriter.h"

namespace vx::bitlocker {

std::vector<uint8_t> MakePlainImage(size_t size, uint32_t sectorSize)
{
    std::vector<uint8_t> image(size);
    uint32_t state = 12345;
    for (uint8_t &byte : image) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    maker::PutBytes(image, 0, std::vector<uint8_t>{0xeb, 0x52, 0x90});
    maker::PutBytes(image, 3, maker::ByteWriter().Text("NTFS    ").Result());
    maker::PutU16(image, 11, static_cast<uint16_t>(sectorSize));
    image[13] = 8;
    constexpr uint64_t kMirrorCluster = 2;
    maker::PutU64(image, 56, kMirrorCluster);
    maker::PutU16(image, 510, 0xaa55);
    const uint64_t mirror = kMirrorCluster * image[13] * sectorSize;
    if (mirror < size)
        maker::PutBytes(image, mirror, maker::ByteWriter().Text("FILE").Result());
    return image;
}

maker::VolumeRecipe RecipeWithPassword()
{
    maker::VolumeRecipe recipe;
    recipe.protectors = {maker::ProtectorRecipe::Password(kPassword)};
    return recipe;
}

TestVolume::TestVolume(maker::VolumeRecipe recipe, size_t plainSize)
    : plain(MakePlainImage(plainSize, recipe.sectorSize))
{
    recipe.rounds = kFewRounds;
    maker::MemorySink sink;
    plan = maker::VolumeMaker(std::move(recipe)).Make(MemoryByteSource(plain), sink);
    image = std::move(sink.Bytes());
}

Result<UnlockedVolume> OpenQuickly(std::shared_ptr<const ByteSource> source, const Secret &secret)
{
    return VolumeOpener(std::move(source), nullptr, KeyStretcher(kFewRounds)).Open(secret);
}

Result<UnlockedVolume> TestVolume::Open(const Secret &secret) const
{
    return OpenQuickly(std::make_shared<MemoryByteSource>(image), secret);
}

Result<UnlockedVolume> TestVolume::OpenWithPassword(const std::string &password) const
{
    return Open(*Secret::FromPassword(password));
}

Result<UnlockedVolume> TestVolume::OpenWithRecovery(const std::string &password) const
{
    return Open(*Secret::FromRecoveryPassword(password));
}

std::vector<uint8_t> ReadBytes(const ByteSource &source, uint64_t offset, size_t count)
{
    std::vector<uint8_t> bytes(count);
    if (source.ReadAt(offset, bytes.data(), count))
        bytes.clear();
    return bytes;
}

bool HoldsPlain(const Result<UnlockedVolume> &opened, const TestVolume &volume)
{
    return opened && ReadBytes(*opened->volume, 0, volume.plain.size()) == volume.plain;
}

Status StatusOf(const Result<UnlockedVolume> &opened)
{
    return opened ? Status::kOk : opened.Failure().status;
}

bool Contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

}  // namespace vx::bitlocker
