#include "DesktopLook.h"

#include "BriefRead.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <sys/stat.h>

namespace {

vx::DesktopLook Gtk(const std::string &text)
{
    vx::DesktopLook look;
    vx::addGtkSettings(look, text);
    return look;
}

vx::DesktopLook Gnome(const std::string &text)
{
    vx::DesktopLook look;
    vx::addGnomeSettings(look, text);
    return look;
}

double ScaleOf(double points, double dotsPerInch, double scaling)
{
    return vx::textScaleOf({false, points, dotsPerInch, scaling});
}

// The desktop of this process, with a settings folder of its own and nothing else.
class ADesktop : public testing::Test {
protected:
    ADesktop()
    {
        setenv("XDG_CONFIG_HOME", m_settings.Path().c_str(), 1);
        unsetenv("GTK_THEME");
        unsetenv("XDG_CURRENT_DESKTOP");
    }
    ~ADesktop() override { unsetenv("XDG_CONFIG_HOME"); }

    // A program of that name, found first.
    void InstallSettingsProgram(const std::string &script)
    {
        const std::string path = m_programs.WriteFile("gsettings", "#!/bin/sh\n" + script);
        chmod(path.c_str(), 0755);
        setenv("PATH", (m_programs.Path() + ":/usr/bin:/bin").c_str(), 1);
        setenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME", 1);
    }

    vx::TemporaryFolder m_settings;
    vx::TemporaryFolder m_programs;
};

}  // namespace

TEST(DesktopLook, DarkColoursAreAskedForByASwitchOrAThemesName)
{
    EXPECT_TRUE(Gtk("[Settings]\ngtk-application-prefer-dark-theme=1\n").isDark);
    EXPECT_TRUE(Gtk("[Settings]\n gtk-application-prefer-dark-theme = true \r\n").isDark);
    EXPECT_TRUE(Gtk("[Settings]\ngtk-theme-name=Adwaita-dark").isDark);
    EXPECT_TRUE(Gtk("[Settings]\ngtk-theme-name=\"Mint-Y-Dark-Aqua\"\n").isDark);
    EXPECT_FALSE(Gtk("[Settings]\ngtk-application-prefer-dark-theme=0\n").isDark);
    EXPECT_FALSE(Gtk("[Settings]\ngtk-theme-name=Darkroom\n").isDark);
    EXPECT_FALSE(Gtk("[Settings]\n#gtk-application-prefer-dark-theme=1\n").isDark);
    EXPECT_FALSE(Gtk("[Other]\ngtk-application-prefer-dark-theme=1\n").isDark);
}

TEST(DesktopLook, FontAndResolutionAreRead)
{
    const vx::DesktopLook look =
        Gtk("[Settings]\ngtk-font-name=Noto Sans Bold 16.5\ngtk-xft-dpi=147456\n");
    EXPECT_DOUBLE_EQ(look.fontPoints, 16.5);
    EXPECT_DOUBLE_EQ(look.dotsPerInch, 144);
    EXPECT_DOUBLE_EQ(Gtk("[Settings]\ngtk-font-name=Sans,12\n").fontPoints, 12);
}

TEST(DesktopLook, WhatIsDamagedSaysNothing)
{
    for (const char *text : {"", "[Settings", "[Settings]\n=\n=1\ngtk-font-name\n",
                             "[Settings]\ngtk-font-name=Sans\ngtk-xft-dpi=-1\n",
                             "[Settings]\ngtk-font-name=Sans 1e400\ngtk-xft-dpi=9x\n",
                             "[Settings]\ngtk-font-name=Sans nan\ngtk-xft-dpi=inf\n"}) {
        const vx::DesktopLook look = Gtk(text);
        EXPECT_FALSE(look.isDark) << text;
        EXPECT_DOUBLE_EQ(vx::textScaleOf(look), 1) << text;
    }
    const std::string zeros = "[Settings]\n" + std::string(100, '\0') + "\xff\xfe=1\n";
    EXPECT_DOUBLE_EQ(vx::textScaleOf(Gtk(zeros)), 1);
}

TEST(DesktopLook, TheSettingsOfGnomeAreRead)
{
    const std::string schema = "org.gnome.desktop.interface ";
    EXPECT_TRUE(Gnome(schema + "color-scheme 'prefer-dark'\n").isDark);
    EXPECT_FALSE(Gnome(schema + "color-scheme 'prefer-light'\n").isDark);
    EXPECT_FALSE(Gnome(schema + "color-scheme 'default'\n").isDark);
    EXPECT_TRUE(Gnome(schema + "gtk-theme 'Yaru-dark'\n").isDark);
    const vx::DesktopLook look = Gnome(schema + "font-name 'Cantarell 11'\n" + schema +
                                       "text-scaling-factor 1.5\nnonsense\n");
    EXPECT_DOUBLE_EQ(look.fontPoints, 11);
    EXPECT_DOUBLE_EQ(vx::textScaleOf(look), 1.5);
}

TEST(DesktopLook, TheDisplaysResolutionIsRead)
{
    vx::DesktopLook look;
    vx::addDisplayResources(look, "Xcursor.size:\t24\nXft.dpi:\t144\nXft.hinting:\t1\n");
    EXPECT_DOUBLE_EQ(look.dotsPerInch, 144);
}

TEST(DesktopLook, AResolutionThatTheToolkitLeavesOpenIsTheDisplays)
{
    vx::DesktopLook look = Gtk("[Settings]\ngtk-xft-dpi=-1\n");
    vx::addDisplayResources(look, "Xft.dpi:\t120\n");
    EXPECT_DOUBLE_EQ(look.dotsPerInch, 120);
    vx::addDisplayResources(look, "Xft.dpi:\t72\n");
    EXPECT_DOUBLE_EQ(look.dotsPerInch, 120) << "the first word holds";
}

TEST(DesktopLook, OneWordForDarkColoursIsEnough)
{
    EXPECT_TRUE(
        Gtk("[Settings]\ngtk-application-prefer-dark-theme=1\ngtk-theme-name=Adwaita\n").isDark);
    EXPECT_TRUE(Gtk("[Settings]\ngtk-theme-name=Adwaita-dark\n"
                    "gtk-application-prefer-dark-theme=0\n")
                    .isDark);
    const std::string schema = "org.gnome.desktop.interface ";
    EXPECT_TRUE(
        Gnome(schema + "color-scheme 'prefer-dark'\n" + schema + "gtk-theme 'Adwaita'\n").isDark);
    EXPECT_TRUE(
        Gnome(schema + "gtk-theme 'Yaru-dark'\n" + schema + "color-scheme 'default'\n").isDark);
}

TEST(DesktopLook, TextGrowsWithFontAndResolutionWithinBounds)
{
    EXPECT_DOUBLE_EQ(ScaleOf(0, 0, 0), 1);
    EXPECT_DOUBLE_EQ(ScaleOf(10, 96, 1), 1);
    EXPECT_DOUBLE_EQ(ScaleOf(11, 96, 1), 1);
    EXPECT_DOUBLE_EQ(ScaleOf(16.5, 96, 0), 1.5);
    EXPECT_DOUBLE_EQ(ScaleOf(8, 96, 0), 0.8);
    // The desktop raises the resolution with the factor: it is one enlargement, not two.
    EXPECT_DOUBLE_EQ(ScaleOf(11, 144, 1.5), 1.5);
    EXPECT_DOUBLE_EQ(ScaleOf(1000, 96, 0), 3);
    EXPECT_DOUBLE_EQ(ScaleOf(1, 96, 0), 0.75);
}

TEST_F(ADesktop, WithoutSettingsIsLightAndOrdinary)
{
    const vx::DesktopLook look = vx::readDesktopLook();
    EXPECT_FALSE(look.isDark);
    EXPECT_DOUBLE_EQ(vx::textScaleOf(look), 1);
}

TEST_F(ADesktop, SaysSoInItsToolkitsSettings)
{
    m_settings.WriteFile("gtk-3.0/settings.ini", "[Settings]\ngtk-theme-name=Adwaita-dark\n");
    EXPECT_TRUE(vx::readDesktopLook().isDark);
}

TEST_F(ADesktop, SaysSoInTheEnvironment)
{
    setenv("GTK_THEME", "Adwaita:dark", 1);
    EXPECT_TRUE(vx::readDesktopLook().isDark);
    unsetenv("GTK_THEME");
}

TEST_F(ADesktop, OfGnomeIsAskedThroughItsProgram)
{
    InstallSettingsProgram("[ \"$*\" = 'list-recursively org.gnome.desktop.interface' ] &&\n"
                           "echo \"org.gnome.desktop.interface color-scheme 'prefer-dark'\"\n");
    EXPECT_TRUE(vx::readDesktopLook().isDark);
    setenv("XDG_CURRENT_DESKTOP", "XFCE", 1);
    EXPECT_FALSE(vx::readDesktopLook().isDark);
}

TEST_F(ADesktop, IsNotWaitedFor)
{
    InstallSettingsProgram("echo \"org.gnome.desktop.interface color-scheme 'prefer-dark'\"\n"
                           "exec sleep 60\n");
    m_settings.MakeFolder("gtk-3.0");
    ASSERT_EQ(mkfifo(m_settings.At("gtk-3.0/settings.ini").c_str(), 0600), 0);
    m_settings.MakeFolder("gtk-4.0/settings.ini");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(vx::readDesktopLook().isDark);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
}
