// Takes a date pattern apart where its date fields and its time fields do not mix
// (Unicode Technical Standard 35, "Date Format Patterns").
#pragma once

#import <Foundation/Foundation.h>

struct DatePatternParts {
    NSString *day;     // the part with the date fields; nil if the pattern cannot be split
    NSString *minute;  // the part with the time fields
    bool dayComesFirst;
};

// "MMMM d, y 'at' h:mm a" → "MMMM d, y 'at' " and "h:mm a". Text between the parts stays with
// the first one. A pattern with seconds, a zone, or date and time in turns is not split.
DatePatternParts SplitDatePattern(NSString *pattern);
