// What the entry answers for each kind of request.
#include "TemporaryFolder.h"
#include "VolumeLibrary.h"
#include "VolumeLibraryStatus.h"
#include "VolumeReader.h"

#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

// The status for this request, of which a failing one must leave the volume null.
VolumeLibraryStatus Open(const char *device, const char *kind, const char *secret)
{
    char something = 0;
    IVolume *volume = reinterpret_cast<IVolume *>(&something);
    const int32_t status = open_bitlocker_device(device, kind, secret, &volume);
    EXPECT_EQ(volume == nullptr, status != 0);
    return static_cast<VolumeLibraryStatus>(status);
}

VolumeLibraryStatus OpenFolder(const std::string &path)
{
    return Open(path.c_str(), "none", "");
}

TEST(VolumeOpener, AFolderOpens)
{
    const TemporaryFolder folder;
    EXPECT_EQ(OpenFolder(folder.Path()), VolumeLibraryStatus::kSuccess);
}

TEST(VolumeOpener, EachOpeningGivesAVolumeOfItsOwn)
{
    const TemporaryFolder first;
    const TemporaryFolder second;
    first.WriteFile("a", "");
    second.WriteFile("b", "");
    IVolume *volumes[2] = {};
    ASSERT_EQ(open_bitlocker_device(first.Path().c_str(), "none", "", &volumes[0]), 0);
    ASSERT_EQ(open_bitlocker_device(second.Path().c_str(), "none", "", &volumes[1]), 0);
    EXPECT_EQ(SortedNames(*volumes[0], u"/*"), std::vector<std::u16string>{u"a"});
    EXPECT_EQ(SortedNames(*volumes[1], u"/*"), std::vector<std::u16string>{u"b"});
}

TEST(VolumeOpener, TheReservedOperationsDoNothing)
{
    const TemporaryFolder folder;
    folder.WriteFile("file", "still there");
    const auto owned = OpenFolderVolume(folder.Path());
    IVolume &volume = *owned;
    volume.Reserved1();
    volume.Reserved2();
    volume.Reserved3();
    volume.Reserved4();
    volume.Reserved5();
    EXPECT_EQ(ReadWholeFile(volume, u"/file"), "still there");
}

TEST(VolumeOpener, AKindOfUnlockThatIsNotKnownIsAStatusOfItsOwn)
{
    const TemporaryFolder folder;
    for (const char *kind : {"", "None", "none ", "startup", "something"})
        EXPECT_EQ(Open(folder.Path().c_str(), kind, ""),
                  VolumeLibraryStatus::kUnlockKindNotSupported);
}

TEST(VolumeOpener, ASecretForAFolderIsNotLookedAt)
{
    const TemporaryFolder folder;
    EXPECT_EQ(Open(folder.Path().c_str(), "none", "whatever"), VolumeLibraryStatus::kSuccess);
}

TEST(VolumeOpener, AFolderThatDoesNotExistIsNotFound)
{
    const TemporaryFolder folder;
    EXPECT_EQ(OpenFolder(folder.At("missing")), VolumeLibraryStatus::kNotFound);
    EXPECT_EQ(OpenFolder(""), VolumeLibraryStatus::kNotFound);
}

TEST(VolumeOpener, AFolderIsNotEncrypted)
{
    const TemporaryFolder folder;
    for (const char *kind : {"password", "recovery", "startup-key"}) {
        EXPECT_EQ(Open(folder.Path().c_str(), kind, "secret"), VolumeLibraryStatus::kNotEncrypted);
        EXPECT_STRNE(volume_library_last_error(), "");
    }
}

TEST(VolumeOpener, ASuccessHasNothingToAdd)
{
    const TemporaryFolder folder;
    EXPECT_NE(Open(folder.Path().c_str(), "password", ""), VolumeLibraryStatus::kSuccess);
    EXPECT_EQ(OpenFolder(folder.Path()), VolumeLibraryStatus::kSuccess);
    EXPECT_STREQ(volume_library_last_error(), "");
}

TEST(VolumeOpener, AFileThatIsNoVolumeDoesNotOpen)
{
    const TemporaryFolder folder;
#ifdef VX_IMAGE_VOLUMES
    constexpr VolumeLibraryStatus kExpected = VolumeLibraryStatus::kImageTruncated;
#else
    constexpr VolumeLibraryStatus kExpected = VolumeLibraryStatus::kNotAFolder;
#endif
    EXPECT_EQ(OpenFolder(folder.WriteFile("empty", "")), kExpected);
    EXPECT_EQ(OpenFolder(folder.WriteFile("text", "not a volume")), kExpected);
}

TEST(VolumeOpener, AFifoIsNotAFolderAndDoesNotBlock)
{
    const TemporaryFolder folder;
    ASSERT_EQ(mkfifo(folder.At("fifo").c_str(), 0644), 0);
    EXPECT_EQ(OpenFolder(folder.At("fifo")), VolumeLibraryStatus::kNotAFolder);
}

TEST(VolumeOpener, APathThatTheSystemCannotFollowFailsToRead)
{
    const TemporaryFolder folder;
    EXPECT_EQ(OpenFolder(folder.MakeLink("loop", "loop")), VolumeLibraryStatus::kReadFailed);
}

// Runs in a process of its own, as a user whom the folder's permissions concern.
[[noreturn]] void ExitWithStatusAsOrdinaryUser(const std::string &parent, const std::string &name)
{
    constexpr uid_t kNobody = 65534;
    // From within the parent, so that the folders above it have no say.
    if (chdir(parent.c_str()) != 0 || (geteuid() == 0 && setuid(kNobody) != 0))
        _exit(100);
    _exit(static_cast<int>(OpenFolder(name)));
}

TEST(VolumeOpener, AFolderThatMayNotBeReadIsPermissionDenied)
{
    const TemporaryFolder folder;
    ASSERT_EQ(chmod(folder.Path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(folder.MakeFolder("locked").c_str(), 0000), 0);
    constexpr int kDenied = static_cast<int>(VolumeLibraryStatus::kPermissionDenied);
    EXPECT_EXIT(ExitWithStatusAsOrdinaryUser(folder.Path(), "locked"),
                testing::ExitedWithCode(kDenied), "");
}

TEST(VolumeOpener, ANullTextIsAMissingArgument)
{
    EXPECT_EQ(Open(nullptr, "none", ""), VolumeLibraryStatus::kArgumentMissing);
    EXPECT_EQ(Open("/", nullptr, ""), VolumeLibraryStatus::kArgumentMissing);
    EXPECT_EQ(Open("/", "none", nullptr), VolumeLibraryStatus::kArgumentMissing);
}

TEST(VolumeOpener, ANullPlaceForTheVolumeIsAMissingArgument)
{
    EXPECT_EQ(open_bitlocker_device("/", "none", "", nullptr),
              static_cast<int32_t>(VolumeLibraryStatus::kArgumentMissing));
}

}  // namespace
}  // namespace vx
