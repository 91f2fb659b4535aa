#include "LoadedLibrary.h"
#include "VolumeOpening.h"

#include "TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vx {
namespace {

using ::testing::HasSubstr;

class LoadedLibraryTest : public ::testing::Test {
protected:
    std::string ErrorAt(const std::string &path)
    {
        EXPECT_FALSE(LoadedLibrary::At(path, &_error));
        return _error;
    }

    TemporaryFolder _folder;
    std::string _error;
};

TEST_F(LoadedLibraryTest, AMissingLibraryIsNamedWithItsPath)
{
    EXPECT_THAT(ErrorAt(_folder.At("none.dylib")),
                ::testing::StartsWith("the volume library is missing or does not load: "));
    EXPECT_THAT(_error, HasSubstr(_folder.At("none.dylib")));
}

TEST_F(LoadedLibraryTest, ALibraryWithoutTheEntryIsRefused)
{
    EXPECT_EQ(ErrorAt(VX_ENTRYLESS),
              "the volume library " VX_ENTRYLESS " has no entry \"open_bitlocker_device\"");
}

TEST_F(LoadedLibraryTest, BesideAProgramWithoutTheLibraryThereIsNone)
{
    EXPECT_FALSE(LoadedLibrary::BesideProgram(&_error));
    EXPECT_THAT(_error, HasSubstr("/tests/libBitLockerWapper.dylib"));
}

TEST_F(LoadedLibraryTest, AFunctionThatAnOlderLibraryLacksIsNull)
{
    const auto library = LoadedLibrary::At(VX_OLDER_LIBRARY, &_error);
    ASSERT_TRUE(library) << _error;
    EXPECT_EQ(library->DescribeDisk(), nullptr);
    EXPECT_EQ(library->SetOpeningOptions(), nullptr);
}

TEST_F(LoadedLibraryTest, AnOlderLibraryOpensOnlyWithoutOptions)
{
    const auto library = LoadedLibrary::At(VX_OLDER_LIBRARY, &_error);
    ASSERT_TRUE(library) << _error;
    EXPECT_NE(OpenVolume(*library, "case", "none", "").volume, nullptr);
    const VolumeOpeningOptions options;
    const VolumeOpening opening = OpenVolume(*library, "case", "none", "", &options);
    EXPECT_EQ(opening.volume, nullptr);
    EXPECT_THAT(opening.error, HasSubstr("is another version"));
}

TEST_F(LoadedLibraryTest, AFolderOpensThroughTheRealLibrary)
{
    const auto library = LoadedLibrary::At(VX_LIBRARY, &_error);
    ASSERT_TRUE(library) << _error;
    const VolumeOpening opening = OpenVolume(*library, _folder.Path(), "none", "");
    EXPECT_NE(opening.volume, nullptr);
    EXPECT_EQ(opening.error, "");
}

TEST_F(LoadedLibraryTest, AFailureNamesTheVolumeTheReasonAndTheStatus)
{
    const auto library = LoadedLibrary::At(VX_LIBRARY, &_error);
    ASSERT_TRUE(library) << _error;
    const std::string path = _folder.At("a\nb");
    const VolumeOpening opening = OpenVolume(*library, path, "none", "");
    EXPECT_EQ(opening.volume, nullptr);
    EXPECT_EQ(opening.status, 3);
    EXPECT_EQ(opening.error,
              "cannot open " + _folder.At("a\\nb") + ": there is nothing at this path (status 3)");
}

}  // namespace
}  // namespace vx
