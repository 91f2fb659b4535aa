// Where a volume that is made goes: a buffer or a file.
#pragma once

#include "ByteView.h"

#include <string>

namespace vx::bitlocker::maker {

class VolumeSink {
public:
    virtual ~VolumeSink() = default;
    // Throws std::runtime_error when it fails.
    virtual void Write(uint64_t offset, ByteView bytes) = 0;
};

class MemorySink : public VolumeSink {
public:
    void Write(uint64_t offset, ByteView bytes) override;
    std::vector<uint8_t> &Bytes() { return _bytes; }

private:
    std::vector<uint8_t> _bytes;
};

class FileSink : public VolumeSink {
public:
    // Makes the file or empties it. Throws std::runtime_error when that fails.
    explicit FileSink(const std::string &path);
    ~FileSink() override;
    FileSink(const FileSink &) = delete;
    FileSink &operator=(const FileSink &) = delete;

    void Write(uint64_t offset, ByteView bytes) override;

private:
    int _descriptor;
};

}  // namespace vx::bitlocker::maker
