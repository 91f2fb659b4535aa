#import "ProgressText.h"

namespace {

constexpr NSUInteger kLongPath = 21;
constexpr NSUInteger kHeadLength = 9;
constexpr NSUInteger kTailLength = 10;

NSString *localizedFormat(NSString *key)
{
    return [[NSBundle mainBundle] localizedStringForKey:key value:@"" table:nil];
}

}  // namespace

// The formats come from the strings table.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wformat-nonliteral"

NSString *FileLineText(NSString *path)
{
    const NSUInteger length = [path length];
    if (length < kLongPath)
        return [NSString stringWithFormat:localizedFormat(@"IDS_COPY_TIPS_SHORT_FILENAME"), path];
    return [NSString stringWithFormat:localizedFormat(@"IDS_COPY_TIPS_LONG_FILENAME"),
                                      [path substringToIndex:kHeadLength],
                                      [path substringFromIndex:length - kTailLength]];
}

NSString *ProgressLineText(double percent, int64_t elapsed, double total)
{
    NSString *aboveOneMinute = localizedFormat(@"IDS_COPY_TIPS_ABOVE_1MIN");
    NSString *lessThanOneMinute = localizedFormat(@"IDS_COPY_TIPS_LESS_1MIN");
    NSString *calculating = localizedFormat(@"IDS_COPY_TIPS_CALCULATE");
    const double copied = total * percent / 100.0;
    if (percent < 1.0)
        return [NSString stringWithFormat:calculating, copied, total];
    const double remaining = (100.0 - percent) * static_cast<double>(elapsed) / percent;
    if (remaining > 60.0) {
        const int32_t minutes = static_cast<int32_t>(static_cast<int64_t>(remaining) / 60);
        return [NSString stringWithFormat:aboveOneMinute, minutes, copied, total];
    }
    return [NSString stringWithFormat:lessThanOneMinute, copied, total];
}

#pragma clang diagnostic pop
