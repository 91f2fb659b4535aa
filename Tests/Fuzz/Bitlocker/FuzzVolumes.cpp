#include "FuzzVolumes.h"

#include "Maker/ByteWriter.h"
#include "Maker/VolumeMaker.h"

#include "Bitlocker/MemoryByteSource.h"

namespace vx::bitlocker {

namespace {

constexpr size_t kPlainSize = 64 * 1024;

std::vector<uint8_t> plainImage()
{
    std::vector<uint8_t> image(kPlainSize);
    maker::putBytes(image, 3, maker::ByteWriter().text("NTFS    ").u16(512).result());
    image[13] = 8;
    maker::putU16(image, 510, 0xaa55);
    return image;
}

FuzzVolume makeVolume(maker::VolumeRecipe recipe)
{
    recipe.rounds = 1;
    recipe.protectors.push_back(maker::ProtectorRecipe::password(kFuzzPassword));
    maker::MemorySink sink;
    FuzzVolume volume;
    volume.plan = maker::VolumeMaker(recipe).make(MemoryByteSource(plainImage()), sink);
    volume.image = std::move(sink.bytes());
    volume.places = {0};
    for (uint64_t copy : volume.plan.copies)
        volume.places.push_back(copy);
    if (recipe.conversion)
        for (uint64_t place : {volume.plan.conversionOffsets[0], volume.plan.conversionOffsets[1],
                               volume.plan.bitmapsOffset, volume.plan.logsOffset})
            volume.places.push_back(place);
    return volume;
}

maker::VolumeRecipe withLayout(Layout layout, Method method)
{
    maker::VolumeRecipe recipe;
    recipe.layout = layout;
    recipe.method = method;
    return recipe;
}

maker::VolumeRecipe converting()
{
    maker::VolumeRecipe recipe;
    recipe.conversion.emplace();
    recipe.conversion->chunkSize = 16 * 1024;
    recipe.conversion->isEncrypted = [](uint64_t offset) { return offset < kPlainSize / 2; };
    return recipe;
}

}  // namespace

std::vector<FuzzVolume> makeFuzzVolumes()
{
    maker::VolumeRecipe suspended = withLayout(Layout::Windows7, Method::Aes128Elephant);
    suspended.protectors.push_back(maker::ProtectorRecipe::clearKey());
    return {
        makeVolume(withLayout(Layout::Windows7, Method::Aes128Xts)),
        makeVolume(withLayout(Layout::Vista, Method::Aes256Cbc)),
        makeVolume(withLayout(Layout::ToGo, Method::Aes256Xts)),
        makeVolume(suspended),
        makeVolume(converting()),
    };
}

}  // namespace vx::bitlocker
