// The words of the user's language, for classes that know no language themselves.
//
// Threads: the main thread, whose functions it holds.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vx {

struct Wording {
    // The English text is the key; one without a translation stays as it is.
    std::function<std::string(const std::string &)> translate;
    // "57.3 GiB", with the decimal sign of the language.
    std::function<std::string(uint64_t)> size;

    // Translates, and puts the arguments into the places "{1}", "{2}", which a translation may
    // reorder.
    std::string Text(const std::string &key, const std::vector<std::string> &arguments = {}) const;
};

}  // namespace vx
