#include "LostScene.h"

#include "Container.h"
#include "Maker/MadeUpBytes.h"
#include "Maker/StartupKeyFileWriter.h"
#include "MemoryByteSource.h"
#include "VolumeOpeningOptions.h"

namespace vx {
namespace {

using bitlocker::maker::ProtectorRecipe;
using bitlocker::maker::VolumeRecipe;

const Guid kProtector{{0x4c, 0x4f, 0x53, 0x54}};

}  // namespace

VolumeRecipe RecipeWithKey(uint32_t seed)
{
    VolumeRecipe recipe;
    recipe.protectors = {ProtectorRecipe::StartupKey(kProtector)};
    recipe.seed = seed;
    return recipe;
}

MadeVolume MakeVolume(const std::string &plain, const VolumeRecipe &recipe)
{
    bitlocker::maker::MemorySink sink;
    MadeVolume made;
    made.plain = plain;
    made.plan = bitlocker::maker::VolumeMaker(recipe).Make(
        MemoryByteSource(std::vector<uint8_t>(plain.begin(), plain.end())), sink);
    made.bytes.assign(sink.Bytes().begin(), sink.Bytes().end());
    return made;
}

LostScene::LostScene()
{
    const std::vector<uint8_t> file = bitlocker::maker::MakeStartupKeyFile(kProtector);
    keyFile = image.Folder().WriteFile("key.BEK", std::string(file.begin(), file.end()));
}

std::string LostScene::FatFileSystem() const
{
    const TestImage made{};
    EXPECT_TRUE(made.MakeFat(8, "-F 16 -s 1") && made.FillFat(tree));
    return made.Folder().ReadFile("image");
}

std::string LostScene::NtfsFileSystem()
{
    const TestImage made{};
    EXPECT_TRUE(made.MakeNtfs(8));
    if (CanMountNtfs())
        EXPECT_TRUE(made.FillNtfs(tree));
    else
        tree.clear();
    return made.Folder().ReadFile("image");
}

void LostScene::Put(const MadeVolume &made, size_t at)
{
    constexpr size_t kAround = 16 * kSector;
    if (disk.size() < at + made.bytes.size())
        disk += NoiseBytes(at + made.bytes.size() + kAround - disk.size(), 99);
    disk.replace(at, made.bytes.size(), made.bytes);
}

void LostScene::Erase(size_t at, size_t count, char with)
{
    disk.replace(at, count, std::string(count, with));
}

VolumeLibraryStatus LostScene::Open(const VolumeChoice &choice, UnlockKind kind,
                                    const OpeningOptions &options)
{
    const auto source = std::make_shared<FailingSource>(disk);
    for (const ByteRange &range : bad)
        source->MakeBad(range.offset, range.length);
    Container container;
    container.source = source;
    Opened opened = AsAnswer(OpenDiskContents(container, choice, {kind, keyFile.c_str()}, options));
    detail = std::move(opened.detail);
    volume = std::move(opened.volume);
    return opened.status;
}

void LostScene::ExpectTree(const VolumeChoice &choice)
{
    ASSERT_EQ(Open(choice), VolumeLibraryStatus::kSuccess) << detail;
    ExpectSameTree(ReadTree(*volume), tree);
}

std::string LostScene::ContentsOf(const VolumeChoice &choice)
{
    OpeningOptions options;
    options.opensContents = true;
    EXPECT_EQ(Open(choice, UnlockKind::kStartupKey, options), VolumeLibraryStatus::kSuccess)
        << detail;
    return volume == nullptr ? "" : ReadWholeFile(*volume, kVolumeContentsPath).value_or("");
}

}  // namespace vx
