#import "DatePattern.h"

#include <cstring>

namespace {

enum class Field { None, Day, Minute, Other };

Field fieldOf(unichar unit)
{
    if (unit == 0 || unit > 'z')
        return Field::None;
    if (strchr("GyYuUrQqMLlwWdDFgEec", unit) != nullptr)
        return Field::Day;
    if (strchr("abBhHkKm", unit) != nullptr)
        return Field::Minute;
    const bool letter = (unit >= 'a') || (unit >= 'A' && unit <= 'Z');
    return letter ? Field::Other : Field::None;
}

}  // namespace

DatePatternParts SplitDatePattern(NSString *pattern)
{
    const DatePatternParts unsplit = {nil, nil, true};
    Field first = Field::None;
    NSUInteger cut = 0;
    bool quoted = false;

    for (NSUInteger i = 0; i < [pattern length]; ++i) {
        const unichar unit = [pattern characterAtIndex:i];
        if (unit == '\'')
            quoted = !quoted;
        const Field field = quoted ? Field::None : fieldOf(unit);
        if (field == Field::None)
            continue;
        if (field == Field::Other)
            return unsplit;
        if (first == Field::None)
            first = field;
        if (field == first && cut != 0)
            return unsplit;
        if (field != first && cut == 0)
            cut = i;
    }
    if (cut == 0)
        return unsplit;

    NSString *head = [pattern substringToIndex:cut];
    NSString *tail = [pattern substringFromIndex:cut];
    if (first == Field::Day)
        return {head, tail, true};
    return {tail, head, false};
}
