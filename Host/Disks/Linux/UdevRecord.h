// What udev's database says about a device; every user may read it.
//
// The record of a block device is the file bMAJOR:MINOR, of lines such as "E:ID_FS_TYPE=BitLocker".
// Sources: udev(7) and "udevadm info" for the properties; a value whose name ends in "_ENC", and
// ID_PART_ENTRY_NAME, has bytes as "\x20" (blkid_encode_string of libblkid).
//
// Threads: any. Texts: as they stand there, not checked.
#pragma once

#include <string>
#include <string_view>

namespace vx {

class UdevRecord {
public:
    explicit UdevRecord(std::string text) : _text(std::move(text)) {}

    // Empty if the record does not have it.
    std::string Value(std::string_view name) const;
    // The same, with "\x20" as the byte that it stands for.
    std::string DecodedValue(std::string_view name) const;

private:
    std::string _text;
};

}  // namespace vx
