// The desktop's settings as a user sees them followed, by the pixels of the screen.
#include "Eventually.h"
#include "UserFixture.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>

namespace {

constexpr int kWidth = 900;  // pixels, of the main window with ordinary text

class UserLookTest : public UserTest {
protected:
    void SetUp() override
    {
        UserTest::SetUp();
        setenv("XDG_CONFIG_HOME", _settings.Path().c_str(), 1);
        unsetenv("GTK_THEME");
        _volume.WriteFile("a.txt", "a");
    }
    ~UserLookTest() override { unsetenv("XDG_CONFIG_HOME"); }

    void WriteDesktopSettings(const std::string &settings)
    {
        _settings.WriteFile("gtk-3.0/settings.ini", "[Settings]\n" + settings);
    }

    // Of the window's grey values in a rectangle "WxH+X+Y", from 0 to 255: their mean, or the
    // "minima" or "maxima".
    static double Grey(const std::string &id, const std::string &rectangle,
                       const std::string &which = "mean")
    {
        return atof(Run("import -window " + id + " -crop " + rectangle +
                        " -colorspace Gray -format '%[fx:255*" + which + "]' info:")
                        .c_str());
    }

    // Of the empty rows, the menu bar and the space beside the button; and of the first row's name.
    static void ExpectColors(const std::string &id, bool dark)
    {
        for (const char *part : {"100x100+300+300", "100x10+500+8", "100x20+300+575"}) {
            const double grey = Grey(id, part);
            EXPECT_TRUE(dark ? grey < 60 : grey > 230) << part << " " << grey;
        }
        const double text = Grey(id, "60x18+26+50", dark ? "maxima" : "minima");
        EXPECT_TRUE(dark ? text > 180 : text < 80) << text;
    }

    vx::TemporaryFolder _settings;
};

}  // namespace

TEST_F(UserLookTest, WithoutADesktopsWordTheColoursAreLight)
{
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    ExpectColors(main, false);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserLookTest, TheDesktopsDarkColoursAreFollowed)
{
    WriteDesktopSettings("gtk-application-prefer-dark-theme=1\n");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    ExpectColors(main, true);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserLookTest, TheUsersOwnSettingWins)
{
    WriteDesktopSettings("gtk-application-prefer-dark-theme=1\n");
    Run("defaults write NSGlobalDomain VXDarkColors NO");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    ExpectColors(main, false);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserLookTest, TextAndWindowGrowWithTheDesktopsFont)
{
    WriteDesktopSettings("gtk-font-name=Sans 13.75\n");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    EXPECT_EQ(Geometry(main, "WIDTH="), 5 * kWidth / 4);
    // The name of the first row is in the middle of a row of 25 points.
    EXPECT_LT(Grey(main, "60x10+40+68", "minima"), 80);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserLookTest, TextAndWindowGrowWithTheDisplaysResolution)
{
    Run("xprop -root -f RESOURCE_MANAGER 8s -set RESOURCE_MANAGER 'Xft.dpi: 120'");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    EXPECT_EQ(Geometry(main, "WIDTH="), 5 * kWidth / 4);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserLookTest, AFontSizeOfTheUsersOwnWins)
{
    WriteDesktopSettings("gtk-font-name=Sans 13.75\n");
    Run("defaults write NSGlobalDomain NSFontSize 12");
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    EXPECT_EQ(Geometry(main, "WIDTH="), kWidth);
    CloseAndExpectNotice(main, host);
}

TEST_F(UserLookTest, SettingsThatCannotBeReadDoNoHarm)
{
    _settings.MakeFolder("gtk-3.0");
    ASSERT_EQ(mkfifo(_settings.At("gtk-3.0/settings.ini").c_str(), 0600), 0);
    _settings.WriteFile("gtk-4.0/settings.ini", std::string(1 << 20, '['));
    ChildProcess host(VOLUME_HOST, {_volume.Path()});
    const std::string main = DrawnWindow();
    ExpectColors(main, false);
    CloseAndExpectNotice(main, host);
}
