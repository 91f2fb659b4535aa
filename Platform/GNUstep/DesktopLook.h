// What the desktop says about its colours and the size of its text.
//
// It is read once, at the start, and never waited for: settings files of the toolkit that most
// desktops keep up to date, and the settings of a GNOME session through its own program, which is
// stopped after a moment. What is missing, unreadable or damaged says nothing.
// Facts: the GTK manual, "GtkSettings" and "GTK_THEME"; gsettings(1), schema
// org.gnome.desktop.interface; X(7), resource Xft.dpi.
// Threads: any. Errors: silent.
#pragma once

#include <string>

namespace vx {

struct DesktopLook {
    bool isDark = false;
    // Of the ordinary size in points, in which fonts are chosen; 0: not known.
    double fontPoints = 0;
    // Of the text; 0: not known.
    double dotsPerInch = 0;
    // By which text is enlarged; 0: not known.
    double scaling = 0;
};

// Adds what a text says; the first word about each matter counts, and any word for dark colours.
//   "[Settings]\ngtk-application-prefer-dark-theme=1\ngtk-font-name=Sans 15\n"
void addGtkSettings(DesktopLook &look, const std::string &text);
//   "org.gnome.desktop.interface color-scheme 'prefer-dark'\n"
void addGnomeSettings(DesktopLook &look, const std::string &text);
//   "Xft.dpi:\t144\n"
void addDisplayResources(DesktopLook &look, const std::string &text);

// How much larger text is than ordinary: 1.5 for 144 dots per inch, or for a font of 16.5 points.
// Between 0.75 and 3.
double textScaleOf(const DesktopLook &look);

// Of this process's user; what the display knows is not among it.
DesktopLook readDesktopLook();

}  // namespace vx
