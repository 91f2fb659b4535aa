// Writes small VMDK files that grow for tests, sound or damaged: a header, a text, a directory of
// one table and its copy, and the grains.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

class VmdkWriter {
public:
    static constexpr size_t kGrain = 4096;
    // Places in the file.
    static constexpr size_t kTextAt = 512;
    static constexpr size_t kCopyAt = 1024;  // of the directory
    static constexpr size_t kDirectoryAt = 2048;
    static constexpr size_t kTableAt = 2560;
    static constexpr size_t kGrainsAt = 3072;

    explicit VmdkWriter(bool isPacked = false) : _isPacked(isPacked) {}

    void SetText(const std::string &text) { _text = text; }
    void AddGrain(const std::string &grain);
    // A packed grain, stored as given.
    void AddStored(const std::string &bytes);
    void AddNothing();
    size_t Sectors() const { return _table.size() * kGrain / 512; }
    std::string Image() const;

    static std::string Number(uint64_t value, size_t bytes);

private:
    bool _isPacked;
    std::string _text;
    std::string _grains;
    std::vector<uint32_t> _table;
};

}  // namespace vx
