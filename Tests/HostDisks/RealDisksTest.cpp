// The disks of this machine, and a loop device where one may be made.
#include "AttachedDisks.h"
#include "Eventually.h"
#include "TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <set>

namespace vx {
namespace {

// A loop device with the file, as losetup makes it; none without the right to.
class LoopDevice {
public:
    explicit LoopDevice(const std::string &file)
    {
        const int control = open("/dev/loop-control", O_RDWR | O_CLOEXEC);
        const int number = control < 0 ? -1 : ioctl(control, LOOP_CTL_GET_FREE);
        const int image = open(file.c_str(), O_RDWR | O_CLOEXEC);
        if (number >= 0 && image >= 0) {
            _path = "/dev/loop" + std::to_string(number);
            _device = open(_path.c_str(), O_RDWR | O_CLOEXEC);
            _isMade = _device >= 0 && Configure(image, file);
        }
        for (const int descriptor : {control, image}) {
            if (descriptor >= 0)
                close(descriptor);
        }
    }
    ~LoopDevice()
    {
        if (_isMade)
            ioctl(_device, LOOP_CLR_FD, 0);
        if (_device >= 0)
            close(_device);
    }

    bool IsMade() const { return _isMade; }
    const std::string &Path() const { return _path; }

private:
    bool Configure(int image, const std::string &file) const
    {
        struct loop_info64 info = {};
        file.copy(reinterpret_cast<char *>(info.lo_file_name), LO_NAME_SIZE - 1);
        return ioctl(_device, LOOP_SET_FD, image) == 0 &&
               ioctl(_device, LOOP_SET_STATUS64, &info) == 0;
    }

    std::string _path;
    int _device = -1;
    bool _isMade = false;
};

AttachedVolume FindPath(const std::string &path)
{
    for (const AttachedVolume &volume : ListAttachedVolumes()) {
        if (volume.path == path)
            return volume;
    }
    return {};
}

TEST(RealDisks, EveryDiskOfThisMachineHasADeviceAndASize)
{
    std::set<std::string> paths;
    for (const AttachedVolume &volume : ListAttachedVolumes()) {
        EXPECT_EQ(access(volume.path.c_str(), F_OK), 0) << volume.path;
        EXPECT_GT(volume.bytes, 0u);
        EXPECT_TRUE(volume.disk.empty() || paths.count(volume.disk) > 0) << volume.path;
        EXPECT_TRUE(paths.insert(volume.path).second) << volume.path;
    }
}

TEST(RealDisks, AnEncryptedImageOnALoopDeviceIsAnnouncedAndListedAsItsFile)
{
    const TemporaryFolder folder;
    std::string image = "\xEB\x58\x90-FVE-FS-";
    image.resize(1024 * 1024);
    const std::string file = folder.WriteFile("stick.img", image);
    std::atomic<int> count = 0;
    const AttachedDisksWatch watch([&] { ++count; });
    std::string path;
    {
        const LoopDevice loop(file);
        if (!loop.IsMade())
            GTEST_SKIP() << "no loop device can be made here";
        path = loop.Path();
        const AttachedVolume volume = FindPath(path);
        EXPECT_EQ(volume.diskName, file);
        EXPECT_EQ(volume.bytes, 1024u * 1024u);
        EXPECT_TRUE(volume.isEncrypted);
        EXPECT_TRUE(volume.isReadable);
        EXPECT_TRUE(Eventually([&] { return count >= 1; }, std::chrono::seconds(5)));
    }
    const int before = count;
    EXPECT_TRUE(Eventually([&] { return FindPath(path).path.empty(); }));
    EXPECT_TRUE(Eventually([&] { return count > before; }, std::chrono::seconds(5)));
}

}  // namespace
}  // namespace vx
