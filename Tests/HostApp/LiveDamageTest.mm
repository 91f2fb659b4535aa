// What could not be read of a volume with bad sectors, listed and saved after the explorer.
#import "DamageWindow.h"
#include "HostTexts.h"
#include "LiveHost.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

namespace fs = std::filesystem;

constexpr size_t kFileBytes = 100000;
constexpr size_t kSector = 512;

class LiveDamageTest : public LiveHostTest {
protected:
    // The file has sectors of their own; the fifth and sixth of them are bad. It lies in one piece,
    // since nothing else is on the volume.
    void SetUp() override
    {
        LiveHostTest::SetUp();
        std::string contents;
        for (size_t line = 0; contents.size() < kFileBytes; ++line)
            contents += "line " + std::to_string(line) + "\n";
        contents.resize(kFileBytes);
        volume.WriteFile("LETTER.TXT", contents);
        MakeImages();
        std::ifstream in(plainImage, std::ios::binary);
        const std::string disk((std::istreambuf_iterator<char>(in)), {});
        const size_t begin = disk.find(contents.substr(0, kSector)) + 4 * kSector;
        ASSERT_EQ(begin % kSector, 0u);
        good = contents;
        setenv("VX_BAD_FILE", plainImage.c_str(), 1);
        setenv("VX_BAD_FROM", std::to_string(begin).c_str(), 1);
        setenv("VX_BAD_TO", std::to_string(begin + 2 * kSector).c_str(), 1);
        // For the programs that are started, not for the desktop's.
        const std::string explorer = folder.WriteFile(
            "Explorer.app/explorer",
            "#!/bin/sh\nLD_PRELOAD='" VX_BAD_SECTORS "' exec '" + programs.explorer + "' \"$@\"\n");
        fs::permissions(explorer, fs::perms(0755));
        fs::create_symlink(fs::path(programs.trial).parent_path() / "libBitLockerWapper.dylib",
                           folder.At("libBitLockerWapper.dylib"));
        programs.explorer = explorer;
    }

    // The volume opens, with a warning.
    void DamageLastCopyOfMetadata()
    {
        const std::string signature = "-FVE-FS-";
        std::string disk = folder.ReadFile("disk.img");
        const size_t place = disk.rfind(signature);
        ASSERT_GT(place, kSector) << "that of the boot sector";
        disk.replace(place, signature.size(), signature.size(), 'x');
        folder.WriteFile("disk.img", disk);
    }

    std::string good;
};

TEST_F(LiveDamageTest, TheListHasTheKeyboardWheneverTheExplorerHasQuit)
{
    constexpr int kSessions = 4;
    DamageLastCopyOfMetadata();
    Begin();
    OpenImage(image);
    for (int session = 0; session < kSessions; ++session) {
        Unlock(kPassword);
        CloseExplorer(AwaitExplorer());
        AwaitWindow();
        CloseList();
        EXPECT_TRUE([Window() isVisible]) << "Return was for the list";
    }
}

TEST_F(LiveDamageTest, TheFileOnBadSectorsIsListedAndTheListIsSaved)
{
    vx::TemporaryFolder destination;
    Begin();
    OpenImage(plainImage);
    Click([Pane() unlockButton]);
    const std::string explorer = AwaitExplorer();
    TypeIntoPanel("Choose a Folder", destination.Path());
    Run("xdotool sleep 0.5 windowactivate " + explorer +
        " sleep 0.4 key --delay 60 ctrl+a sleep 0.4 key --delay 60 Return");
    EXPECT_TRUE(RunUntil([&] {
        return fs::exists(destination.At("LETTER.TXT")) &&
               fs::file_size(destination.At("LETTER.TXT")) == kFileBytes;
    }));
    EXPECT_TRUE(RunUntil([] { return IdOf("Export").empty(); }));
    CloseExplorer(explorer);
    AwaitWindow();
    DamageWindow *list = [delegate damageWindow];
    ASSERT_NE(list, nil);
    EXPECT_TRUE([[list window] isVisible]);

    TypeIntoPanel("Save", folder.At("list.txt"));
    const std::string title = vx::BytesOf([[list window] title]);
    EXPECT_TRUE(RunUntil([&] { return !IdOf(title).empty(); }));
    Run("xdotool windowactivate " + IdOf(title) + " sleep 0.3");
    const NSRect button = [[list saveButton] convertRect:[[list saveButton] bounds] toView:nil];
    const NSRect content = [[[list window] contentView] bounds];
    Run("xdotool mousemove --window " + IdOf(title) + " " +
        std::to_string(static_cast<int>(NSMidX(button))) + " " +
        std::to_string(static_cast<int>(NSHeight(content) - NSMidY(button))) + " click 1");
    EXPECT_TRUE(RunUntil([this] { return fs::exists(folder.At("list.txt")); }));
    EXPECT_EQ(folder.ReadFile("list.txt"),
              "Not read in full: " + plainImage +
                  "\n\n/LETTER.TXT\t1.0 KiB\tMissing bytes are zeros: the disk could not read it\n"
                  "\t1024 bytes from byte 2048 on\n");
    std::string zeroed = good;
    std::fill_n(zeroed.begin() + 4 * kSector, 2 * kSector, '\0');
    EXPECT_EQ(destination.ReadFile("LETTER.TXT"), zeroed);
}

// Both windows appear at once, and a window manager gives the keyboard to the one that asks last.
class DamageFocusTest : public HostWindowTest {
protected:
    DamageFocusTest() : HostWindowTest(Services::kNone) {}

    void SetUp() override
    {
        _manager = std::make_unique<ChildProcess>("/usr/bin/openbox",
                                                  std::vector<std::string>{"--sm-disable"});
        EXPECT_TRUE(RunUntil([] {
            return system("xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 0x") == 0;
        }));
        auto madeFacts = std::make_unique<vxtest::StandInFacts>();
        auto madeSessions = std::make_unique<vxtest::StandInSessions>();
        facts = madeFacts.get();
        sessions = madeSessions.get();
        [delegate beginWith:{std::make_unique<vxtest::StandInDisks>(), std::move(madeFacts),
                             std::move(madeSessions), std::make_unique<vxtest::StandInRights>()}];
    }

    static bool IsActive(NSWindow *window)
    {
        const std::string command =
            "test \"$(xdotool getactivewindow getwindowname 2>/dev/null)\" = '" +
            vx::BytesOf([window title]) + "'";
        return [window isKeyWindow] && system(command.c_str()) == 0;
    }

private:
    std::unique_ptr<ChildProcess> _manager;
};

TEST_F(DamageFocusTest, TheListHasTheKeyboardAfterEachOfTenExplorers)
{
    constexpr NSTimeInterval kLateAnswers = 0.5;
    Choose("/x.img", vxtest::PlainVolume("/x.img", "DATA"));
    for (int explorer = 1; explorer <= 10; ++explorer) {
        [Pane() unlock:nil];
        ASSERT_EQ(sessions->started, explorer);
        Start();
        EXPECT_TRUE(RunUntil([this] { return ![Window() isVisible]; }));
        sessions->listener->OnDamage({vx::ChannelDamageKind::kFolder, 0, "/Users", {}, 3});
        End(vx::SessionEndKind::kQuit);
        NSWindow *list = [[delegate damageWindow] window];
        ASSERT_TRUE(RunUntil([&] { return IsActive(list); })) << "explorer " << explorer;
        NSDate *end = [NSDate dateWithTimeIntervalSinceNow:kLateAnswers];
        EXPECT_TRUE(RunUntil([&] { return [end timeIntervalSinceNow] < 0; }));
        EXPECT_TRUE(IsActive(list)) << "explorer " << explorer;
        EXPECT_TRUE([Window() isVisible]);
    }
}

}  // namespace
