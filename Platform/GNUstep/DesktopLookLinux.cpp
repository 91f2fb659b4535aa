#include "DesktopLook.h"

#include "BriefRead.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <sstream>

namespace vx {
namespace {

constexpr double kOrdinaryDotsPerInch = 96;
constexpr double kLeastOrdinaryPoints = 10, kMostOrdinaryPoints = 11;
constexpr double kLeastScale = 0.75, kMostScale = 3;
constexpr std::chrono::milliseconds kPatience(250);

std::string environment(const char *name)
{
    const char *const value = getenv(name);
    return value == nullptr ? "" : value;
}

std::string trimmed(const std::string &text)
{
    const char *const blanks = " \t\r\n'\"";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string lowered(std::string text)
{
    for (char &letter : text)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

// Independent of the locale; 0 for what is not a positive number.
double numberIn(const std::string &text)
{
    double number = 0;
    const char *const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end && number > 0 && number < 1e9 ? number : 0;
}

// "Noto Sans Bold 11" -> 11
double pointsOf(const std::string &font)
{
    const size_t blank = font.find_last_of(" ,");
    return blank == std::string::npos ? 0 : numberIn(font.substr(blank + 1));
}

// "Mint-Y-Dark-Aqua" -> true, "Darkroom" -> false
bool isDarkName(const std::string &theme)
{
    const std::string name = lowered(theme) + "-";
    return name.find("-dark-") != std::string::npos;
}

bool isTrue(const std::string &value)
{
    const std::string word = lowered(value);
    return word == "1" || word == "true" || word == "yes";
}

void setOnce(double &fact, double value)
{
    if (fact == 0)
        fact = value;
}

void addGtkSetting(DesktopLook &look, const std::string &key, const std::string &value)
{
    constexpr double kUnitsPerDot = 1024;
    if (key == "gtk-application-prefer-dark-theme")
        look.isDark |= isTrue(value);
    else if (key == "gtk-theme-name")
        look.isDark |= isDarkName(value);
    else if (key == "gtk-font-name")
        setOnce(look.fontPoints, pointsOf(value));
    else if (key == "gtk-xft-dpi")
        setOnce(look.dotsPerInch, numberIn(value) / kUnitsPerDot);
}

void addGnomeSetting(DesktopLook &look, const std::string &key, const std::string &value)
{
    if (key == "color-scheme")
        look.isDark |= value == "prefer-dark";
    else if (key == "gtk-theme")
        look.isDark |= isDarkName(value);
    else if (key == "font-name")
        setOnce(look.fontPoints, pointsOf(value));
    else if (key == "text-scaling-factor")
        setOnce(look.scaling, numberIn(value));
}

// The environment's word: "Adwaita:dark", "Adwaita-dark".
bool isDarkVariable(const std::string &theme)
{
    const std::string variant = ":dark";
    const bool isVariant =
        theme.size() > variant.size() &&
        theme.compare(theme.size() - variant.size(), variant.size(), variant) == 0;
    return isVariant || isDarkName(theme);
}

bool isGnomeSession()
{
    const std::string desktops = ":" + environment("XDG_CURRENT_DESKTOP") + ":";
    return desktops.find(":GNOME:") != std::string::npos;
}

}  // namespace

void addGtkSettings(DesktopLook &look, const std::string &text)
{
    std::istringstream lines(text);
    bool isInGroup = false;
    for (std::string line; std::getline(lines, line);) {
        const std::string content = trimmed(line);
        if (!content.empty() && content[0] == '[')
            isInGroup = content == "[Settings]";
        const size_t equals = content.find('=');
        if (!isInGroup || equals == std::string::npos)
            continue;
        addGtkSetting(look, trimmed(content.substr(0, equals)),
                      trimmed(content.substr(equals + 1)));
    }
}

void addGnomeSettings(DesktopLook &look, const std::string &text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string schema, key, value;
        words >> schema >> key;
        std::getline(words, value);
        addGnomeSetting(look, key, trimmed(value));
    }
}

void addDisplayResources(DesktopLook &look, const std::string &text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const size_t colon = line.find(':');
        if (colon != std::string::npos && trimmed(line.substr(0, colon)) == "Xft.dpi")
            setOnce(look.dotsPerInch, numberIn(trimmed(line.substr(colon + 1))));
    }
}

double textScaleOf(const DesktopLook &look)
{
    // A desktop that enlarges text raises the resolution by the same factor.
    double scale = std::max(look.scaling, look.dotsPerInch / kOrdinaryDotsPerInch);
    if (scale == 0)
        scale = 1;
    if (look.fontPoints > kMostOrdinaryPoints)
        scale *= look.fontPoints / kMostOrdinaryPoints;
    else if (look.fontPoints > 0 && look.fontPoints < kLeastOrdinaryPoints)
        scale *= look.fontPoints / kLeastOrdinaryPoints;
    return std::clamp(scale, kLeastScale, kMostScale);
}

DesktopLook readDesktopLook()
{
    DesktopLook look;
    look.isDark = isDarkVariable(environment("GTK_THEME"));
    if (isGnomeSession())
        addGnomeSettings(
            look, briefOutputOf({"gsettings", "list-recursively", "org.gnome.desktop.interface"},
                                kPatience));
    const std::string configuration = environment("XDG_CONFIG_HOME");
    const std::string folder =
        configuration.empty() ? environment("HOME") + "/.config" : configuration;
    for (const char *version : {"/gtk-4.0", "/gtk-3.0"})
        addGtkSettings(look, briefContentsOf(folder + version + "/settings.ini"));
    return look;
}

}  // namespace vx
