// Keeps the user's settings out of a test, and the test's out of the user's: windows come back
// where they were left, which is not where a test looks for them. A home of its own does not do it:
// the window library asks the system's list of users for the home.
#pragma once

#include <string>

namespace vxtest {

// Home and settings of this process and its children lie in the folder from now on, and its desktop
// says nothing about its look, or what TEST_GTK_THEME and TEST_GTK_FONT say. Call it before the
// first use of the window library.
void LiveIn(const std::string &folder);

}  // namespace vxtest
