// The texts of what the panel for files and folders has of the program's own, from a table that
// every application's bundle has. Main thread only.
#pragma once

#import <Foundation/Foundation.h>

namespace vx {

// The English text where there is no translation.
inline NSString *panelText(NSString *english)
{
    return [[NSBundle mainBundle] localizedStringForKey:english value:english table:@"Panel"];
}

}  // namespace vx
