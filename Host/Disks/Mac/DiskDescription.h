// What Disk Arbitration says about one disk or partition.
//
// Source: Apple, "Disk Arbitration Programming Guide"; the keys of DADiskCopyDescription.
// Threads: one at a time. Errors: what is missing or of another type is empty.
#pragma once

#include "CfOwner.h"

#include <DiskArbitration/DiskArbitration.h>

#include <cstdint>
#include <string>

namespace vx {

class DiskDescription {
public:
    explicit DiskDescription(DADiskRef disk) : _values(DADiskCopyDescription(disk)) {}

    std::string Text(CFStringRef key) const;
    uint64_t Number(CFStringRef key) const;
    bool Truth(CFStringRef key) const;
    // The path of a volume that is mounted.
    std::string Path(CFStringRef key) const;

private:
    // Null unless it is there and of the type.
    CFTypeRef Value(CFStringRef key, CFTypeID type) const;

    CfOwner<CFDictionaryRef> _values;
};

}  // namespace vx
