#include "PrivateSettings.h"

#include <cstdlib>
#include <fstream>

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
    const char *const theme = getenv("TEST_GTK_THEME");
    if (theme == nullptr)
        unsetenv("GTK_THEME");
    else
        setenv("GTK_THEME", theme, 1);
}

}  // namespace vxtest
