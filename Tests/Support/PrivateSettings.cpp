#include "PrivateSettings.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace vxtest {

void LiveIn(const std::string &folder)
{
    const std::string configuration = folder + "/GNUstep.conf";
    // The last of two settings of one name counts.
    std::ofstream out(configuration);
    out << std::ifstream("/etc/GNUstep/GNUstep.conf").rdbuf();
    out << "\nGNUSTEP_USER_DEFAULTS_DIR=" << folder << "/Defaults\n";
    setenv("GNUSTEP_CONFIG_FILE", configuration.c_str(), 1);
    setenv("HOME", folder.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (folder + "/.config").c_str(), 1);
    unsetenv("XDG_CURRENT_DESKTOP");
    if (const char *const font = getenv("TEST_GTK_FONT")) {
        fs::create_directories(folder + "/.config/gtk-3.0");
        std::ofstream(folder + "/.config/gtk-3.0/settings.ini")
            << "[Settings]\ngtk-font-name=" << font << "\n";
    }
    const char *const theme = getenv("TEST_GTK_THEME");
    if (theme == nullptr)
        unsetenv("GTK_THEME");
    else
        setenv("GTK_THEME", theme, 1);
}

}  // namespace vxtest
