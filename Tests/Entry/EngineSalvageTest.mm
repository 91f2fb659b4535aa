// An export by the explorer's engine from a failing disk: what cannot be read is zeros, and nothing
// of any other file is ever in its place.
#import "ExportTest.h"

#include "FailingSource.h"
#include "Salvaged.h"
#include "TestImage.h"

#include <unistd.h>

// A sink at whose fourth report of progress, the first of the second file, that file becomes
// shorter.
@interface ShrinkingDelegate : RecordingDelegate {
    NSString *_path;
    int _reports;
}
- (id)initWithPath:(NSString *)path;
@end

@implementation ShrinkingDelegate

- (id)initWithPath:(NSString *)path
{
    self = [super init];
    if (self != nil)
        _path = [path copy];
    return self;
}

- (void)dealloc
{
    [_path release];
    [super dealloc];
}

- (void)UpdateProgress:(NSNumber *)percent
{
    constexpr int kFirstOfSecondFile = 4;
    [super UpdateProgress:percent];
    if (++_reports == kFirstOfSecondFile)
        EXPECT_EQ(truncate([_path UTF8String], 5 << 20), 0);
}

@end

namespace vx {
namespace {

constexpr uint64_t kMiB = uint64_t{1} << 20;

class EngineSalvage : public ExportTest, public testing::WithParamInterface<const char *> {
protected:
    // Files that are exported before and after the bad one fill the engine's buffer.
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(image.MakeFat(40, "-F 16 -s 8"));
        ASSERT_TRUE(image.FillFat(tree));
        place = image.Folder().ReadFile("image").find(contents);
        ASSERT_NE(place, std::string::npos);
        const bool isEncrypted = GetParam()[0] != 0;
        if (isEncrypted) {
            ASSERT_TRUE(image.Encrypt(GetParam()));
        }
        disk = std::make_shared<FailingSource>(image.Folder().ReadFile("image"));
        const UnlockKind unlock = isEncrypted ? UnlockKind::kPassword : UnlockKind::kNone;
        opened = OpenDiskOf(disk, 0, unlock, "correct");
        ASSERT_TRUE(opened.volume) << opened.detail;
        explorer = [[Z5FileExplorerWapper alloc] initWithVolumeObject:opened.volume.get()];
    }

    Opened opened;
    const std::string first = NoiseBytes(9 * kMiB, 1);
    const std::string contents = NoiseBytes(13 * kMiB + 77, 2);
    const std::string last = NoiseBytes(5 * kMiB, 3);
    const TestTree tree = {{"a", first}, {"b", contents}, {"c", last}};
    const TestImage image{};
    uint64_t place = 0;  // of "b" on the disk
    std::shared_ptr<FailingSource> disk;
};

TEST_P(EngineSalvage, ABadPageIsZerosAndAllElseIsRight)
{
    disk->MakeBad(place + 6 * kMiB, 4096);
    ASSERT_TRUE(Run());
    EXPECT_TRUE(Exported("a") == first);
    EXPECT_TRUE(Exported("b") == WithZeros(contents, {{6 * kMiB, 4096}}));
    EXPECT_TRUE(Exported("c") == last);
}

TEST_P(EngineSalvage, AFileOfWhichNothingCanBeReadIsAllZeros)
{
    disk->MakeBad(place, (contents.size() + 511) / 512 * 512);
    ASSERT_TRUE(Run());
    EXPECT_TRUE(Exported("a") == first);
    EXPECT_TRUE(Exported("b") == std::string(contents.size(), '\0'));
    EXPECT_TRUE(Exported("c") == last);
}

TEST_P(EngineSalvage, AnErrorThatGoesAwayCostsNothing)
{
    disk->MakeBad(place + 5 * kMiB, 512, 1);
    ASSERT_TRUE(Run());
    for (const auto &[name, expected] : tree)
        EXPECT_TRUE(Exported(name) == expected) << name;
}

INSTANTIATE_TEST_SUITE_P(Disks, EngineSalvage, testing::Values("", "--password correct"),
                         [](const auto &tested) {
                             return std::string(tested.param[0] == 0 ? "Plain" : "Encrypted");
                         });

class EngineOnFolder : public ExportTest {
protected:
    const TemporaryFolder source;
    const std::unique_ptr<OwnedVolume> opened = OpenFolderVolume(source.Path());
};

TEST_F(EngineOnFolder, AFileThatShrinksWhileItIsExportedGetsNoBytesOfAnother)
{
    const std::string first = NoiseBytes(9 * kMiB, 1);
    const std::string contents = NoiseBytes(13 * kMiB, 2);
    source.WriteFile("a", first);
    source.WriteFile("b", contents);
    explorer = [[Z5FileExplorerWapper alloc] initWithVolumeObject:opened.get()];
    NSArray *root = [explorer rootDirectory];
    engine = [[Z5FileManager alloc]
        initWithSourceFiles:[NSArray arrayWithObjects:Named(root, "a"), Named(root, "b"), nil]
                andExplorer:explorer];
    ShrinkingDelegate *shrinking = [[ShrinkingDelegate alloc] initWithPath:Text(source.At("b"))];
    ASSERT_TRUE([engine copyTo:Text(Destination()) withDelegate:shrinking]);
    ASSERT_TRUE(Finish());
    [shrinking release];
    EXPECT_TRUE(Exported("a") == first);
    EXPECT_TRUE(Exported("b") == WithZeros(contents, {{5 * kMiB, 8 * kMiB}}));
}

}  // namespace
}  // namespace vx
