#include "Places.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TemporaryFolder.h"

namespace {

class Places : public testing::Test {
protected:
    // "disk /media/a" for each place; the home stands as "~".
    std::vector<std::string> Found(const std::string &userFolders, const std::string &mounts)
    {
        const char *const names[] = {"home", "desktop", "documents", "disk"};
        const std::string home = m_home.Path();
        std::vector<std::string> found;
        for (const vx::Place &place : vx::placesIn(home, userFolders, mounts)) {
            const bool inHome = place.path.compare(0, home.size(), home) == 0;
            found.push_back(names[static_cast<int>(place.kind)] + std::string(" ") +
                            (inHome ? "~" + place.path.substr(home.size()) : place.path));
        }
        return found;
    }
    using Texts = std::vector<std::string>;

    vx::TemporaryFolder m_home;
    vx::TemporaryFolder m_system;
};

}  // namespace

TEST_F(Places, WithoutADesktopsSettingsTheUsersFoldersHaveTheirEnglishNames)
{
    m_home.MakeFolder("Desktop");
    m_home.MakeFolder("Documents");
    EXPECT_EQ(Found("/missing", "/missing"),
              (Texts{"home ~", "desktop ~/Desktop", "documents ~/Documents"}));
}

TEST_F(Places, TheDesktopNamesTheUsersFolders)
{
    m_home.MakeFolder("Desktop");
    m_home.MakeFolder("Schreibtisch");
    const std::string elsewhere = m_system.MakeFolder("My Documents");
    const std::string settings =
        m_system.WriteFile("user-dirs.dirs", "# comment\nXDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
                                             "XDG_DOCUMENTS_DIR=\"" +
                                                 elsewhere + "\"\nXDG_MUSIC_DIR=\"$HOME/M\"\n");
    EXPECT_EQ(Found(settings, "/missing"),
              (Texts{"home ~", "desktop ~/Schreibtisch", "documents " + elsewhere}));
}

TEST_F(Places, FoldersThatAreNotThereAndSettingsThatAreDamagedAreLeftOut)
{
    m_home.WriteFile("Documents", "a file");
    const std::string settings = m_system.WriteFile(
        "user-dirs.dirs", "XDG_DESKTOP_DIR=\"\nXDG_DESKTOP_DIR=\"$HOME/\"\nXDG_DOCUMENTS_DIR\n");
    EXPECT_EQ(Found(settings, "/missing"), Texts{"home ~"});
}

TEST_F(Places, WhatIsMountedWhereDisksAreIsADisk)
{
    const std::string mounts =
        m_system.WriteFile("mounts", "/dev/sda1 / ext4 rw 0 0\n/dev/sda2 /boot vfat rw 0 0\n"
                                     "/dev/sdb1 /media/user/My\\040Stick vfat rw 0 0\n"
                                     "server:/share /mnt nfs rw 0 0\ntmpfs /mediate tmpfs rw 0 0\n"
                                     "/dev/sdc1 /run/media/user/Photos exfat rw 0 0\n");
    EXPECT_EQ(Found("/missing", mounts), (Texts{"home ~", "disk /media/user/My Stick", "disk /mnt",
                                                "disk /run/media/user/Photos"}));
}
