// Compares date texts with the platform's in the locale that its environment (or, on macOS, the
// arguments "-AppleLocale xx_YY") gives it, in each time zone named by an argument.
// Prints "locale count differences" and the first difference.
#include <cstdio>

#import "DateTimes.h"

int main(int argc, char **argv)
{
    @autoreleasepool {
        size_t compared = 0;
        std::vector<std::string> differences;
        for (int i = 1; i < argc; ++i) {
            NSTimeZone *zone =
                [NSTimeZone timeZoneWithName:[NSString stringWithUTF8String:argv[i]]];
            if (zone == nil)
                continue;
            [NSTimeZone setDefaultTimeZone:zone];
            for (const auto &times : {TimesOverManyYears(400), TimesAroundClockChanges()}) {
                compared += times.size();
                for (const std::string &difference : DateTextsThatDiffer(times))
                    differences.push_back(difference);
            }
        }
        printf("%s %zu %zu %s\n", [[[NSLocale currentLocale] localeIdentifier] UTF8String],
               compared, differences.size(), differences.empty() ? "" : differences[0].c_str());
        return differences.empty() ? 0 : 1;
    }
}
