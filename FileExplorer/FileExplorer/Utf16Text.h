// A platform string as the volume takes it: zero-terminated UTF-16 in the machine's byte order.
#pragma once

#import <Foundation/Foundation.h>

#include <string>

// "/a" → u"/a"; nil → an empty text. The result's c_str() ends with a zero unit.
std::u16string Utf16Text(NSString *text);
