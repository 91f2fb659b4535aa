#include "RegisteredDefaults.h"

#include "DesktopLook.h"
#include "LookSettings.h"
#include "ThreadChecks.h"

#import <AppKit/AppKit.h>
#import <GNUstepGUI/GSDisplayServer.h>

#include <dlfcn.h>

namespace vx {
namespace {

struct FontPair {
    NSString *regular;
    NSString *bold;
    // Points; fonts of the same size differ in how large they look.
    float size;
};

// The first that is installed is taken.
const FontPair kFonts[] = {
    {@"Cantarell-Regular", @"Cantarell-Bold", 13},
    {@"NotoSans-Regular", @"NotoSans-Bold", 13},
    {@"NotoSans", @"NotoSans-Bold", 13},
    {@"OpenSans", @"OpenSans-Bold", 13},
    {@"LiberationSans", @"LiberationSans-Bold", 13},
    {@"DejaVuSans", @"DejaVuSans-Bold", 12},
};

// What is known before the display is.
DesktopLook g_desktop;

void registerDefaults(NSDictionary *defaults)
{
    [[NSUserDefaults standardUserDefaults] registerDefaults:defaults];
}

// What the display's own settings say: a text that belongs to the connection. The library's back
// end, and with it the display's library, is loaded at run time.
std::string displayResources()
{
    using ResourceString = char *(*)(void *);
    const auto resourceString =
        reinterpret_cast<ResourceString>(dlsym(RTLD_DEFAULT, "XResourceManagerString"));
    void *const connection = [GSCurrentServer() serverDevice];
    const char *const text =
        resourceString == nullptr || connection == nullptr ? nullptr : resourceString(connection);
    return text == nullptr ? "" : text;
}

// A font size of the user's own is the size that the user wants.
void registerTextScale()
{
    addDisplayResources(g_desktop, displayResources());
    NSUserDefaults *defaults = [NSUserDefaults standardUserDefaults];
    const double scale = [defaults objectForKey:@"NSFontSize"] == nil ? textScaleOf(g_desktop) : 1;
    registerDefaults([NSDictionary dictionaryWithObject:[NSNumber numberWithDouble:scale]
                                                 forKey:kTextScaleKey]);
}

// An absolute path, or nil when the program runs outside its bundle (as a test does).
NSString *themePath()
{
    NSString *path = [[NSBundle mainBundle] pathForResource:@"FileExplorer" ofType:@"theme"];
    return [path isAbsolutePath] ? path : nil;
}

// The command key is Control, as everywhere on this desktop; what Control is on macOS goes to the
// key with the desktop's sign. The help key no longer uses that one.
void addKeys(NSMutableDictionary *keys)
{
    [keys setObject:@"Control_L" forKey:@"GSFirstCommandKey"];
    [keys setObject:@"Control_R" forKey:@"GSSecondCommandKey"];
    [keys setObject:@"Alt_L" forKey:@"GSFirstAlternateKey"];
    [keys setObject:@"Super_L" forKey:@"GSFirstControlKey"];
    [keys setObject:@"Super_R" forKey:@"GSSecondControlKey"];
    [keys setObject:@"Help" forKey:@"GSSecondHelpKey"];
    [keys setObject:@"Ctrl+" forKey:@"GSCommandKeyString"];
    [keys setObject:@"Alt+" forKey:@"GSAlternateKeyString"];
    [keys setObject:@"Shift+" forKey:@"GSShiftKeyString"];
    [keys setObject:@"Super+" forKey:@"GSControlKeyString"];
}

}  // namespace

void registerLook()
{
    AssertMainThread();
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    NSMutableDictionary *look = [NSMutableDictionary dictionary];
    [look setObject:@"NSWindows95InterfaceStyle" forKey:@"NSMenuInterfaceStyle"];
    // Scrollers at the right edge, as on other desktops.
    [look setObject:@"NSMacintoshInterfaceStyle" forKey:@"NSScrollViewInterfaceStyle"];
    [look setObject:@"YES" forKey:@"GSSuppressAppIcon"];
    // The desktop shows minimised windows in its own way, not as the library's tiles.
    [look setObject:@"NO" forKey:@"GSAppOwnsMiniwindow"];
    [look setObject:@"YES" forKey:@"GSScrollViewNoInnerBorder"];
    [look setObject:@"NO" forKey:@"GSBrowserUseBezels"];
    // The library tells the display how the program was started, readable by every client. The
    // arguments may hold a secret.
    NSString *program = [[[NSProcessInfo processInfo] arguments] objectAtIndex:0];
    [look setObject:[NSArray arrayWithObject:program] forKey:@"GSLaunchCommand"];
    NSString *theme = themePath();
    if (theme != nil)
        [look setObject:theme forKey:@"GSTheme"];
    g_desktop = readDesktopLook();
    [look setObject:[NSNumber numberWithBool:g_desktop.isDark] forKey:kDarkColorsKey];
    addKeys(look);
    registerDefaults(look);
    [pool release];
}

void registerFonts()
{
    AssertMainThread();
    registerTextScale();
    NSArray *available = [[NSFontManager sharedFontManager] availableFonts];
    for (const FontPair &font : kFonts) {
        if (![available containsObject:font.regular] || ![available containsObject:font.bold])
            continue;
        registerDefaults([NSDictionary
            dictionaryWithObjectsAndKeys:font.regular, @"NSFont", font.bold, @"NSBoldFont",
                                         [NSNumber numberWithFloat:font.size], @"NSFontSize",
                                         font.regular, @"NSPaletteFont",
                                         [NSNumber numberWithFloat:font.size - 1],
                                         @"NSToolTipsFontSize", nil]);
        return;
    }
}

}  // namespace vx
