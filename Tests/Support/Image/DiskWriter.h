// Writes a disk with partition tables byte by byte, with valid checksums.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vx {

class DiskWriter {
public:
    static constexpr size_t kSector = 512;

    explicit DiskWriter(size_t sectors) : _bytes(sectors * kSector, '\0') {}

    void Put(size_t at, uint64_t value, size_t count);
    void PutText(size_t at, const std::string &text) { _bytes.replace(at, text.size(), text); }
    // A first sector that looks like that of NTFS.
    void PutVolume(size_t sector) { PutText(sector * kSector + 3, "NTFS    "); }

    // An entry of the MBR or of the table of an extended partition in this sector.
    void PutMbr(size_t sector, size_t entry, uint8_t type, uint32_t first, uint32_t sectors);

    // An entry of a GUID table at this byte.
    void PutGptEntry(size_t at, uint64_t first, uint64_t last, const std::string &name = "");
    void PutGptType(size_t at, const std::array<uint8_t, 16> &type);

    struct GptHeader {
        uint64_t sector = 1;   // of the header
        uint64_t other = 0;    // of the other header
        uint64_t entries = 2;  // sector of the first entry
        uint32_t count = 4;
        uint32_t stride = 128;
        size_t sectorBytes = kSector;
    };
    // Call it after the entries are put, whose checksum it contains.
    void PutGpt(const GptHeader &header);

    std::string &Bytes() { return _bytes; }
    const std::string &Bytes() const { return _bytes; }

private:
    uint32_t Checksum(size_t at, size_t count) const;

    std::string _bytes;
};

}  // namespace vx
