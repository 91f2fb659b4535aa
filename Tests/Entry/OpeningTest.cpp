// What opening an image answers, row by row of the statuses.
#include "FatImage.h"
#include "TestImage.h"

#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

// 48 digits, each group a multiple of 11.
constexpr const char *kRecovery = "000011-000022-000033-000044-000055-000066-000077-000088";
constexpr const char *kOtherRecovery = "000022-000022-000033-000044-000055-000066-000077-000088";

class OpeningTest : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        ASSERT_TRUE(image.MakeFat(8, "-F 12"));
    }

    void Encrypt(const std::string &options = "--password correct")
    {
        ASSERT_TRUE(image.Encrypt(options));
    }

    VolumeLibraryStatus StatusOf(const char *kind, const char *secret)
    {
        Opened opened = OpenImage(image.Path(), kind, secret);
        detail = opened.detail;
        return opened.status;
    }

    const TestImage image{};
    std::string detail;
};

TEST_F(OpeningTest, APasswordOpens)
{
    Encrypt();
    EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kSuccess);
}

TEST_F(OpeningTest, ARecoveryPasswordOpensWithAndWithoutDashes)
{
    Encrypt(std::string("--recovery ") + kRecovery);
    EXPECT_EQ(StatusOf("recovery", kRecovery), VolumeLibraryStatus::kSuccess);
    EXPECT_EQ(StatusOf("recovery", "000011000022000033000044000055000066000077000088"),
              VolumeLibraryStatus::kSuccess);
}

TEST_F(OpeningTest, AWrongSecretIsAStatusOfItsOwn)
{
    Encrypt(std::string("--password correct --recovery ") + kRecovery);
    EXPECT_EQ(StatusOf("password", "Correct"), VolumeLibraryStatus::kWrongSecret);
    EXPECT_EQ(StatusOf("password", ""), VolumeLibraryStatus::kWrongSecret);
    EXPECT_EQ(StatusOf("recovery", kOtherRecovery), VolumeLibraryStatus::kWrongSecret);
}

TEST_F(OpeningTest, AMistypedGroupIsNamed)
{
    Encrypt();
    EXPECT_EQ(StatusOf("recovery", "000011-000022-000034-000044-000055-000066-000077-000088"),
              VolumeLibraryStatus::kSecretMalformed);
    EXPECT_NE(detail.find("group 3"), std::string::npos) << detail;
    EXPECT_EQ(detail.find("000034"), std::string::npos) << "a secret is repeated: " << detail;
}

TEST_F(OpeningTest, WithoutASecretTheKindsThatUnlockAreNamed)
{
    Encrypt(std::string("--password correct --recovery ") + kRecovery);
    EXPECT_EQ(StatusOf("none", ""), VolumeLibraryStatus::kSecretNeeded);
    EXPECT_NE(detail.find("password"), std::string::npos) << detail;
    EXPECT_NE(detail.find("recovery password"), std::string::npos) << detail;
}

TEST_F(OpeningTest, AKindThatTheVolumeDoesNotHaveIsAStatusOfItsOwn)
{
    Encrypt();
    EXPECT_EQ(StatusOf("recovery", kRecovery), VolumeLibraryStatus::kNoProtectorOfThisKind);
}

TEST_F(OpeningTest, ASecretForAPlainVolumeIsNotEncrypted)
{
    for (const char *kind : {"password", "recovery", "startup-key"})
        EXPECT_EQ(StatusOf(kind, "secret"), VolumeLibraryStatus::kNotEncrypted);
}

TEST_F(OpeningTest, AStartupKeyFileThatIsMissingIsNotFound)
{
    Encrypt();
    EXPECT_EQ(StatusOf("startup-key", image.At("missing.BEK").c_str()),
              VolumeLibraryStatus::kNotFound);
}

TEST_F(OpeningTest, AStartupKeyFileThatIsNoneIsMalformed)
{
    Encrypt();
    EXPECT_EQ(StatusOf("startup-key", image.Folder().WriteFile("x.BEK", "no key").c_str()),
              VolumeLibraryStatus::kSecretMalformed);
}

TEST_F(OpeningTest, AnImageCutBeforeItsMetadataIsTruncated)
{
    Encrypt();
    ASSERT_EQ(truncate(image.Path().c_str(), 1 << 20), 0);
    EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kImageTruncated) << detail;
}

TEST_F(OpeningTest, NoiseInsteadOfTheMetadataIsDamaged)
{
    const auto plainBytes = static_cast<size_t>(8) << 20;
    Encrypt();
    const size_t all = image.Folder().ReadFile("image").size();
    ASSERT_GT(all, plainBytes);
    ASSERT_TRUE(RunShell("head -c " + std::to_string(all - plainBytes) + " /dev/urandom | dd of=" +
                         Quoted(image.Path()) + " bs=1M seek=8 conv=notrunc status=none"));
    EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kMetadataDamaged) << detail;
}

TEST_F(OpeningTest, AnUnlockedVolumeWithoutAFileSystemIsDamaged)
{
    image.Folder().WriteFile("image", NoiseBytes(4 << 20, 3));
    Encrypt();
    EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kFileSystemDamaged);
}

TEST_F(OpeningTest, APlainImageWithoutAFileSystemIsNotSupported)
{
    image.Folder().WriteFile("image", NoiseBytes(1 << 20, 3));
    EXPECT_EQ(StatusOf("none", ""), VolumeLibraryStatus::kFileSystemNotSupported);
}

TEST_F(OpeningTest, AFileSystemThatIsKnownByNameOnlyIsNotSupported)
{
    std::string sectors(1 << 20, '\0');
    sectors.replace(3, 4, "ReFS");
    image.Folder().WriteFile("image", sectors);
    EXPECT_EQ(StatusOf("none", ""), VolumeLibraryStatus::kFileSystemNotSupported);
    EXPECT_EQ(detail, "it is a ReFS file system: open it on a Windows computer");
}

TEST_F(OpeningTest, AnAllocationTableOfNoiseIsADamagedFileSystem)
{
    std::string bytes = image.Folder().ReadFile("image");
    const FatGeometry fat = FatImage(bytes).geometry;
    for (unsigned copy = 0; copy < fat.tableCopies; ++copy)
        bytes.replace(fat.tableOffset + copy * fat.tableBytes, 4096, NoiseBytes(4096, 9));
    image.Folder().WriteFile("image", bytes);
    EXPECT_EQ(StatusOf("none", ""), VolumeLibraryStatus::kFileSystemDamaged);
}

TEST_F(OpeningTest, AnImageWithoutAWholeSectorIsTruncated)
{
    for (const size_t bytes : {0, 100, 511}) {
        image.Folder().WriteFile("image", NoiseBytes(bytes, 4));
        EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kImageTruncated) << bytes;
        EXPECT_EQ(StatusOf("none", ""), VolumeLibraryStatus::kImageTruncated) << bytes;
    }
}

TEST_F(OpeningTest, OfASecondPartTheFirstOneIsAskedFor)
{
    image.Folder().WriteFile("part.001", NoiseBytes(4096, 5));
    const Opened opened = OpenImage(image.Folder().WriteFile("part.002", NoiseBytes(4096, 6)));
    EXPECT_EQ(opened.status, VolumeLibraryStatus::kContainerNotSupported);
    EXPECT_NE(opened.detail.find("give the first one, part.001"), std::string::npos);
    // What is a volume of its own opens, whatever its name.
    ASSERT_TRUE(RunShell("mv " + Quoted(image.Path()) + " " + Quoted(image.At("part.003"))));
    EXPECT_EQ(OpenImage(image.At("part.003")).status, VolumeLibraryStatus::kSuccess);
}

TEST_F(OpeningTest, NothingIsNoticedOfAVolumeThatIsWhole)
{
    EXPECT_EQ(StatusOf("none", ""), VolumeLibraryStatus::kSuccess);
    EXPECT_EQ(detail, "");
    Encrypt();
    EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kSuccess);
    EXPECT_EQ(detail, "");
}

TEST_F(OpeningTest, AnImageThatEndsBehindItsMetadataOpensWithAWarning)
{
    ASSERT_EQ(truncate(image.Path().c_str(), 5 << 20), 0);
    EXPECT_EQ(StatusOf("none", ""), VolumeLibraryStatus::kSuccess);
    EXPECT_NE(detail.find("ends 3 MiB before the volume does"), std::string::npos) << detail;
    ASSERT_TRUE(image.MakeFat(8, "-F 12"));
    Encrypt();
    const size_t all = image.Folder().ReadFile("image").size();
    ASSERT_EQ(truncate(image.Path().c_str(), static_cast<off_t>(all - 4096)), 0);
    EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kSuccess) << detail;
    EXPECT_NE(detail.find("ends 4096 bytes before the volume does"), std::string::npos) << detail;
}

TEST_F(OpeningTest, ADamagedCopyOfTheMetadataIsAWarning)
{
    Encrypt();
    std::string bytes = image.Folder().ReadFile("image");
    const size_t copy = bytes.find("-FVE-FS-", 512);
    ASSERT_NE(copy, std::string::npos);
    image.Folder().WriteFile("image", bytes.replace(copy, 512, NoiseBytes(512, 8)));
    EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kSuccess);
    EXPECT_NE(detail.find("the copy of the metadata at " + std::to_string(copy)), std::string::npos)
        << detail;
}

TEST_F(OpeningTest, TheProgramPrintsALineForEachWarning)
{
    ASSERT_EQ(truncate(image.Path().c_str(), 5 << 20), 0);
    ASSERT_TRUE(
        RunShell(VX_TOOL " --list " + Quoted(image.Path()) + " 2>" + Quoted(image.At("errors"))));
    EXPECT_EQ(image.Folder().ReadFile("errors"),
              "volume-export: warning: " + image.Path() +
                  ": the image or device ends 3 MiB before the volume does; "
                  "what lies there cannot be read\n");
}

TEST_F(OpeningTest, NothingIsWrittenToTheImage)
{
    Encrypt();
    ASSERT_EQ(chmod(image.Path().c_str(), 0444), 0);
    const std::string before = image.Folder().ReadFile("image");
    EXPECT_EQ(StatusOf("password", "correct"), VolumeLibraryStatus::kSuccess);
    EXPECT_TRUE(image.Folder().ReadFile("image") == before);
}

TEST_F(OpeningTest, AFifoDoesNotBlock)
{
    ASSERT_EQ(mkfifo(image.At("fifo").c_str(), 0644), 0);
    EXPECT_EQ(OpenImage(image.At("fifo")).status, VolumeLibraryStatus::kNotAFolder);
}

// Runs in a process of its own, as a user whom the file's permissions concern.
[[noreturn]] void ExitWithStatusAsOrdinaryUser(const std::string &path)
{
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && setuid(kNobody) != 0)
        _exit(100);
    const Opened opened = OpenImage(path);
    _exit(opened.detail.empty() ? 101 : static_cast<int>(opened.status));
}

TEST_F(OpeningTest, AnImageThatMayNotBeReadIsPermissionDeniedWithAdvice)
{
    ASSERT_EQ(chmod(image.At("").c_str(), 0755), 0);
    ASSERT_EQ(chmod(image.Path().c_str(), 0000), 0);
    constexpr int kExpected = static_cast<int>(VolumeLibraryStatus::kPermissionDenied);
    EXPECT_EXIT(ExitWithStatusAsOrdinaryUser(image.Path()), testing::ExitedWithCode(kExpected), "");
}

}  // namespace
}  // namespace vx
