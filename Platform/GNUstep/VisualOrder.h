// Text in the order in which it is read from left to right on the screen.
//
// The library draws characters one after the other as they are stored. Hebrew and Arabic would run
// backwards, and Arabic letters stand unjoined. FriBidi, which nearly every desktop has, puts them
// in order; where it is missing text stays as it is.
// Threads: main thread only.
#pragma once

#import <Foundation/Foundation.h>

namespace vx {

// For a line whose direction is from left to right, as in every language of the program. Text
// without letters that run from the right comes back as it is, and so does text with characters
// that command a direction: a name on a volume could use them to pass for another one.
NSString *inVisualOrder(NSString *text);

// The same with the attributes of the first character.
NSAttributedString *attributedInVisualOrder(NSAttributedString *text);

}  // namespace vx
