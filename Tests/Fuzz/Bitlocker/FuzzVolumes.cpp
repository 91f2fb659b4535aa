#include "FuzzVolumes.h"

#include "Maker/ByteWriter.h"
#include "Maker/VolumeMaker.h"

#include "MemoryByteSource.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kPlainSize = 64 * 1024;

std::vector<uint8_t> PlainImage()
{
    std::vector<uint8_t> image(kPlainSize);
    maker::PutBytes(image, 3, maker::ByteWriter().Text("NTFS    ").U16(512).Result());
    image[13] = 8;
    maker::PutU16(image, 510, 0xaa55);
    return image;
}

FuzzVolume MakeVolume(maker::VolumeRecipe recipe)
{
    recipe.rounds = 1;
    recipe.protectors.push_back(maker::ProtectorRecipe::Password(kFuzzPassword));
    maker::MemorySink sink;
    FuzzVolume volume;
    volume.plan = maker::VolumeMaker(recipe).Make(MemoryByteSource(PlainImage()), sink);
    volume.image = std::move(sink.Bytes());
    volume.places = {0};
    for (uint64_t copy : volume.plan.copies)
        volume.places.push_back(copy);
    if (recipe.conversion)
        for (uint64_t place : {volume.plan.conversionOffsets[0], volume.plan.conversionOffsets[1],
                               volume.plan.bitmapsOffset, volume.plan.logsOffset})
            volume.places.push_back(place);
    return volume;
}

maker::VolumeRecipe WithLayout(Layout layout, Method method)
{
    maker::VolumeRecipe recipe;
    recipe.layout = layout;
    recipe.method = method;
    return recipe;
}

maker::VolumeRecipe Converting()
{
    maker::VolumeRecipe recipe;
    recipe.conversion.emplace();
    recipe.conversion->chunkSize = 16 * 1024;
    recipe.conversion->isEncrypted = [](uint64_t offset) { return offset < kPlainSize / 2; };
    return recipe;
}

}  // namespace

std::vector<FuzzVolume> MakeFuzzVolumes()
{
    maker::VolumeRecipe suspended = WithLayout(Layout::kWindows7, Method::kAes128Elephant);
    suspended.protectors.push_back(maker::ProtectorRecipe::ClearKey());
    return {
        MakeVolume(WithLayout(Layout::kWindows7, Method::kAes128Xts)),
        MakeVolume(WithLayout(Layout::kVista, Method::kAes256Cbc)),
        MakeVolume(WithLayout(Layout::kToGo, Method::kAes256Xts)),
        MakeVolume(suspended),
        MakeVolume(Converting()),
    };
}

}  // namespace vx::bitlocker
