// Texts between AppKit and the plain classes, and in the user's language.
//
// Threads: any, once the application has started. Strings that are returned are autoreleased.
#pragma once

#import <Foundation/Foundation.h>

#include "Wording.h"

#include <string>

namespace vx {

// What is not UTF-8 is read as Latin-1, so that it is shown at all.
NSString *TextOf(const std::string &text);
std::string BytesOf(NSString *text);

// A path in a property list: an NSString, or NSData if it is not UTF-8. An empty path of anything
// else.
id StoredPath(const std::string &path);
std::string PathOf(id stored);

// The English text is the key.
NSString *Localized(NSString *text);
NSString *Localized(const char *key, const std::vector<std::string> &arguments = {});

const Wording &UserWording();

}  // namespace vx
