// What can only be brought about on Linux: a read that fails half-way, a system without a call.
#include "FolderFile.h"
#include "OpenBeneath.h"
#include "VolumeReader.h"

#include <chrono>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vx {
namespace {

// Two pages of memory of which only the first can be read.
class HalfReadablePages {
public:
    HalfReadablePages()
        : _size(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          _pages(static_cast<char *>(
              mmap(nullptr, 2 * _size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        std::memset(_pages, 'p', _size);
        munmap(_pages + _size, _size);
    }
    ~HalfReadablePages() { munmap(_pages, _size); }
    HalfReadablePages(const HalfReadablePages &) = delete;
    HalfReadablePages &operator=(const HalfReadablePages &) = delete;

    size_t Size() const { return _size; }
    int64_t Address() const { return reinterpret_cast<int64_t>(_pages); }

private:
    const size_t _size;
    char *const _pages;
};

TEST(FolderFileOnLinux, AReadThatFailsHalfWayTellsTheBytesBeforeTheError)
{
    const HalfReadablePages pages;
    FolderFile file(UniqueFd(open("/proc/self/mem", O_RDONLY | O_CLOEXEC)));
    ASSERT_TRUE(file.Move(pages.Address(), 0));
    std::string bytes(2 * pages.Size(), '?');
    uint32_t done = 0;
    EXPECT_FALSE(file.Read(bytes.data(), static_cast<uint32_t>(bytes.size()), &done));
    EXPECT_EQ(done, pages.Size());
    EXPECT_EQ(bytes.substr(0, done), std::string(pages.Size(), 'p'));
}

// Makes openat2 fail with error for the rest of this process.
bool TakeOpenAt2Away(int error)
{
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat2, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(error)),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter = {sizeof program / sizeof program[0], program};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0 &&
           syscall(SYS_openat2, -1, "", nullptr, 0) == -1 && errno == error;
}

[[noreturn]] void ExitWithReadWithoutOpenAt2(IVolume &volume, int error)
{
    if (!TakeOpenAt2Away(error))
        _exit(2);
    const bool fileRead = ReadWholeFile(volume, u"/sub/file") == "inside";
    const bool linkRead = ReadWholeFile(volume, u"/link") == "inside";
    const bool listed = SortedNames(volume, u"/*").size() == 3;
    const bool refused = !Opens(volume, u"/door/passwd");
    _exit(fileRead && linkRead && listed && refused ? 0 : 1);
}

using OpenBeneathOnLinux = FolderVolumeTest;

TEST_F(OpenBeneathOnLinux, WithoutTheSystemCallTheVolumeWorksTheSame)
{
    folder.WriteFile("sub/file", "inside");
    folder.MakeLink("link", "sub/file");
    folder.MakeLink("door", "/etc");
    EXPECT_EXIT(ExitWithReadWithoutOpenAt2(volume, ENOSYS), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(ExitWithReadWithoutOpenAt2(volume, EPERM), testing::ExitedWithCode(0), "");
}

class CreationTimeOnLinux : public FolderVolumeTest {
protected:
    struct statx Stat(const std::string &path)
    {
        struct statx found = {};
        EXPECT_EQ(statx(AT_FDCWD, path.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &found), 0);
        return found;
    }
    // Changes the file until its last change is later than its birth by the disk's clock.
    struct statx ChangeAfterBirth(const std::string &path)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        struct statx found = Stat(path);
        const statx_timestamp first = found.stx_ctime;
        while (found.stx_ctime.tv_sec == first.tv_sec && found.stx_ctime.tv_nsec == first.tv_nsec) {
            EXPECT_EQ(chmod(path.c_str(), 0600), 0);
            found = Stat(path);
            if (std::chrono::steady_clock::now() > deadline) {
                ADD_FAILURE() << "the disk's clock stands still";
                break;
            }
        }
        return found;
    }
};

TEST_F(CreationTimeOnLinux, ItIsTheBirthTimeOrElseTheTimeOfTheLastChange)
{
    const std::string path = folder.WriteFile("file", "");
    const struct statx found = ChangeAfterBirth(path);
    const bool hasBirth = (found.stx_mask & STATX_BTIME) != 0;
    const statx_timestamp &expected = hasBirth ? found.stx_btime : found.stx_ctime;
    EXPECT_EQ(EntryNamed(volume, u"/*", u"file").creationTime,
              116444736000000000u + uint64_t(expected.tv_sec) * 10000000u + expected.tv_nsec / 100);
}

}  // namespace
}  // namespace vx
