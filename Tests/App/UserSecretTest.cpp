// An encrypted image in the window: where its secret and its key are to be seen meanwhile.
#include "Eventually.h"
#include "PipeFolder.h"
#include "UserFixture.h"

#include "IVolume.h"
#include "VolumeOpeningOptions.h"
#include "VolumeReport.h"

#include <gmock/gmock.h>

#include <csignal>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/stat.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class UserSecretTest : public UserTest {
protected:
    // The volume's folder as an encrypted FAT32 image.
    void MakeImage()
    {
        const std::string plain = _home.MakeSparseFile("plain.img", 64 << 20);
        const std::string tools = "PATH=\"$PATH:/usr/sbin:/sbin\" ";
        Run(tools + "mkfs.fat -F 32 -s 1 " + plain);
        Run("MTOOLS_SKIP_CHECK=1 mcopy -s -m -i " + plain + " " + _volume.Path() + "/* ::");
        Run(MAKE_VOLUME " " + plain + " " + _image + " --method xts128 --password " + kSecret);
        ASSERT_TRUE(fs::exists(_image)) << "dosfstools or mtools is missing";
        fs::remove(plain);
    }

    // The master key of the image, by the library itself.
    std::string MasterKey() const
    {
        void *library = dlopen(LIBRARY, RTLD_NOW);
        const auto set = Function<VolumeLibrarySetOpeningOptionsFunction>(
            library, "volume_library_set_opening_options");
        const auto open = Function<OpenBitlockerDeviceFunction>(library, "open_bitlocker_device");
        const auto visit = Function<VolumeLibraryVisitMasterKeyFunction>(
            library, "volume_library_visit_master_key");
        VolumeOpeningOptions options;
        options.keepsMasterKey = 1;
        IVolume *volume = nullptr;
        std::string key;
        EXPECT_TRUE(set(&options));
        EXPECT_EQ(open(_image.c_str(), "password", kSecret, &volume), 0);
        EXPECT_TRUE(visit(
            volume,
            [](void *text, const uint8_t *bytes, uint64_t length) {
                static_cast<std::string *>(text)->assign(reinterpret_cast<const char *>(bytes),
                                                         static_cast<size_t>(length));
            },
            &key));
        return key;
    }

    template <typename Type>
    static Type Function(void *library, const char *name)
    {
        return reinterpret_cast<Type>(dlsym(library, name));
    }

    // What nobody may see: the secret, and the key as it is and as digits.
    std::vector<std::string> Unseen() const
    {
        const std::string key = MasterKey();
        std::string digits;
        char two[3];
        for (const char byte : key) {
            snprintf(two, sizeof(two), "%02x", static_cast<unsigned char>(byte));
            digits += two;
        }
        std::string capitals = digits;
        for (char &digit : capitals)
            digit = static_cast<char>(toupper(digit));
        return {kSecret, key, digits, capitals};
    }

    // What every user of this machine can read of a process, and more.
    static std::string ShownOf(const std::string &process)
    {
        std::string shown;
        for (const char *name : {"cmdline", "environ"}) {
            std::ifstream file("/proc/" + process + "/" + name, std::ios::binary);
            shown.append(std::istreambuf_iterator<char>(file), {});
        }
        return shown;
    }

    // What the descriptor of the explorer's third argument leads to: "socket:[4711]".
    static std::string ChannelOf(const std::string &explorer)
    {
        std::istringstream arguments(ShownOf(explorer));
        std::string word;
        for (int i = 0; i < 4; ++i)
            std::getline(arguments, word, '\0');
        return fs::read_symlink("/proc/" + explorer + "/fd/" + word);
    }

    // The properties of every window.
    static std::string ShownByDisplay()
    {
        std::string shown = Run("xprop -root");
        std::istringstream ids(Run("xwininfo -root -tree | grep -o '0x[0-9a-f]*' | sort -u"));
        for (std::string id; std::getline(ids, id);)
            shown += Run("xprop -len 100000 -id " + id);
        return shown;
    }

    // The process of this test that runs the program.
    std::string ProcessOf(const std::string &program) const
    {
        std::string found;
        EXPECT_TRUE(Eventually([&] {
            std::istringstream processes(Run("pgrep -f '^[^ ]*/" + program + "'"));
            for (std::string process; found.empty() && std::getline(processes, process);)
                found = ShownOf(process).find(_home.Path()) == std::string::npos ? "" : process;
            return !found.empty();
        })) << program;
        return found;
    }

    std::vector<std::string> HostArguments()
    {
        return {_image, "--unlock", "password", "@" + _home.WriteFile("line", kSecret)};
    }

    static constexpr char kSecret[] = "Wg7-never-to-be-seen";
    const std::string _image = _home.At("disk.img");
};

TEST_F(UserSecretTest, NoProcessAndNoWindowShowsTheSecretOrTheKeyAndNoProgramGetsTheChannel)
{
    _volume.WriteFile("A.TXT", std::string(100000, 'a'));
    MakeImage();
    // The destination is opened with this.
    const std::string opener = _home.WriteFile(
        "bin/xdg-open", "#!/bin/sh\nls -l /proc/self/fd > '" + _home.At("open") + ".part' && mv '" +
                            _home.At("open") + ".part' '" + _home.At("open") + "'\n");
    chmod(opener.c_str(), 0755);
    ChildProcess host(VOLUME_HOST, HostArguments());
    const std::string trial = ShownOf(ProcessOf("volume-trial"));
    const std::string main = DrawnWindow();
    const std::string process = ProcessOf("FileExplorer");
    const std::string explorer = ShownOf(process);
    const std::string channel = ChannelOf(process);
    const std::string display = ShownByDisplay();
    EXPECT_THAT(trial, HasSubstr("libBitLockerWapper"));
    EXPECT_THAT(explorer, HasSubstr("host-channel"));
    EXPECT_THAT(display, HasSubstr("File Explorer"));
    const std::string hosts = ShownOf(ProcessOf("volume-host"));
    for (const std::string &text : Unseen())
        for (const std::string &shown : {trial, explorer, display, hosts})
            EXPECT_THAT(shown, Not(HasSubstr(text)));

    Focus(main);
    Key("ctrl+a");
    Key("Return");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return fs::exists(_home.At("open")); }));
    EXPECT_THAT(channel, HasSubstr("socket:["));
    EXPECT_THAT(_home.ReadFile("open"), Not(HasSubstr(channel)));
    CloseAndExpectNotice(main, host);
}

TEST_F(UserSecretTest, TheExplorerGoesOnWhenItsHostIsKilled)
{
    _volume.WriteFile("A.TXT", std::string(100000, 'a'));
    MakeImage();
    ChildProcess host(VOLUME_HOST, HostArguments());
    const std::string main = DrawnWindow();
    host.Signal(SIGKILL);
    ASSERT_EQ(host.AwaitEnd(), -SIGKILL);
    Focus(main);
    Key("ctrl+a");
    Key("Return");
    ChooseFolder(destination);
    EXPECT_TRUE(Eventually([&] { return SameTree(_volume.Path(), destination); }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    Focus(main);
    Key("ctrl+w");
    EXPECT_TRUE(Eventually([&] { return IsGone("File Explorer"); }));
    for (const char *path : {"/tmp/z5_btl_3", "/tmp/z5_btl_4", "/tmp/z5_btl_4.lock"})
        fs::remove(path);
}

}  // namespace
