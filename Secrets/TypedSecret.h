// A secret that was typed or read. It lies at one fixed place in memory, which never grows and is
// kept out of the swap space if the system allows it, and is overwritten when it goes.
//
// Threads: one at a time. Units: bytes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vx {

class TypedSecret {
public:
    // The longest line of a terminal, and the longest path of a key file.
    static constexpr size_t kMostBytes = 4095;

    TypedSecret();
    ~TypedSecret();
    TypedSecret(const TypedSecret &) = delete;
    TypedSecret &operator=(const TypedSecret &) = delete;

    // False if it is full.
    bool Append(char byte);
    void RemoveLast();
    // Nothing if it does not begin with this.
    void RemoveFirst(std::string_view prefix);
    void Wipe();

    bool IsEmpty() const { return _size == 0; }
    char Last() const { return _bytes[_size - 1]; }
    // Ends in a zero byte. Valid until this changes.
    const char *Text() const { return _bytes; }

private:
    size_t _size = 0;
    char _bytes[kMostBytes + 1] = {};
};

// Overwrite texts in memory and empty them.
void WipeText(std::string *text);
void WipeTexts(std::vector<std::string> *texts);

}  // namespace vx
