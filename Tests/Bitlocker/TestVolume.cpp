#include "TestVolume.h"

#include "Maker/ByteWriter.h"

namespace vx::bitlocker {

std::vector<uint8_t> makePlainImage(size_t size, uint32_t sectorSize)
{
    std::vector<uint8_t> image(size);
    uint32_t state = 12345;
    for (uint8_t &byte : image) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(state >> 24);
    }
    maker::putBytes(image, 0, std::vector<uint8_t>{0xeb, 0x52, 0x90});
    maker::putBytes(image, 3, maker::ByteWriter().text("NTFS    ").result());
    maker::putU16(image, 11, static_cast<uint16_t>(sectorSize));
    image[13] = 8;
    maker::putU64(image, 56, 2);
    maker::putU16(image, 510, 0xaa55);
    return image;
}

maker::VolumeRecipe recipeWithPassword()
{
    maker::VolumeRecipe recipe;
    recipe.protectors = {maker::ProtectorRecipe::password(kPassword)};
    return recipe;
}

TestVolume::TestVolume(maker::VolumeRecipe recipe, size_t plainSize)
    : plain(makePlainImage(plainSize, recipe.sectorSize))
{
    recipe.rounds = kFewRounds;
    maker::MemorySink sink;
    plan = maker::VolumeMaker(std::move(recipe)).make(MemoryByteSource(plain), sink);
    image = std::move(sink.bytes());
}

Result<OpenedVolume> TestVolume::open(const Secret &secret) const
{
    return VolumeOpener(KeyStretcher(kFewRounds))
        .open(std::make_shared<MemoryByteSource>(image), secret);
}

Result<OpenedVolume> TestVolume::openWithPassword(const std::string &password) const
{
    return open(*Secret::password(password));
}

Result<OpenedVolume> TestVolume::openWithRecovery(const std::string &password) const
{
    return open(*Secret::recoveryPassword(password));
}

std::vector<uint8_t> readBytes(const ByteSource &source, uint64_t offset, size_t count)
{
    std::vector<uint8_t> bytes(count);
    if (source.readAt(offset, bytes.data(), count))
        bytes.clear();
    return bytes;
}

bool holdsPlain(const Result<OpenedVolume> &opened, const TestVolume &volume)
{
    return opened && readBytes(*opened->volume, 0, volume.plain.size()) == volume.plain;
}

Status statusOf(const Result<OpenedVolume> &opened)
{
    return opened ? Status::Ok : opened.error().status;
}

bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

}  // namespace vx::bitlocker
