// A key ring on a disk that fails while its folder is read.
#include "KeyTexts.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <dirent.h>
#include <dlfcn.h>

namespace {

// Whether a folder ends with an error, as on a failing disk.
bool breaksOff = false;

}  // namespace

// In place of the system's.
extern "C" dirent *readdir(DIR *folder)
{
    using Function = dirent *(*)(DIR *);
    static const Function system = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "readdir"));
    dirent *const entry = system(folder);
    if (entry == nullptr && breaksOff)
        errno = EIO;
    return entry;
}

namespace vx::bitlocker {
namespace {

std::string ProblemsOf(const std::string &ring)
{
    const Result<KeyCollection> keys = KeyCollection::FromPath(ring.c_str(), nullptr, {kKeyGuid});
    if (!keys)
        return "not read";
    return std::to_string(keys->Keys().Size()) + " key; " + keys->Problems();
}

TEST(KeyCollectionOnAFailingDiskTest, AFolderWhoseReadingBreaksOffIsCounted)
{
    const TemporaryFolder folder;
    folder.WriteFile("a.txt", "000011-000022-000033-000044-000055-000066-000077-000088");
    EXPECT_EQ(ProblemsOf(folder.Path()), "1 key; ");
    breaksOff = true;
    const std::string problems = ProblemsOf(folder.Path());
    breaksOff = false;
    EXPECT_EQ(problems, "1 key; 1 file could not be read or had more than 1 MiB");
}

}  // namespace
}  // namespace vx::bitlocker
