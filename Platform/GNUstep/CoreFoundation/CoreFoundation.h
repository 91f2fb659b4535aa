// What the program uses of Core Foundation, for GNUstep: the path of a file URL. As on macOS a
// CFURLRef is an NSURL and a CFStringRef an NSString, and a plain cast leads from one to the other.
// Any thread.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef const void *CFTypeRef;
typedef const struct __CFURL *CFURLRef;
typedef const struct __CFString *CFStringRef;

typedef enum CFURLPathStyle {
    kCFURLPOSIXPathStyle = 0,
    kCFURLHFSPathStyle = 1,
    kCFURLWindowsPathStyle = 2
} CFURLPathStyle;

// The URL's path without a slash at the end; null when the URL is null, has no path, or the style
// is not POSIX. The caller owns the string and releases it, with CFRelease or as an object.
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);

// As on macOS the reference must not be null.
void CFRelease(CFTypeRef reference);

#ifdef __cplusplus
}
#endif
