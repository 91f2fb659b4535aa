// Which entries of a volume are listed or exported: the rules of --include and --exclude, and the
// limits of size and date.
//
// The first rule whose pattern matches decides; what none matches is chosen. Patterns are matched
// from the volume's root, byte by byte of UTF-8. An excluded folder is not entered. The limits are
// for files: folders are entered all the same. A file without a date is within every limit of it.
// Ownership: keeps what it is made of. Threads: one at a time.
#pragma once

#include "Options.h"
#include "PathPattern.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vx {

class Choice {
public:
    explicit Choice(const Options &options);

    // Whether nothing is left out.
    bool IsEverything() const { return _rules.empty() && !HasLimits(); }

    // path: on the volume, "/Users/anna". size: in bytes. modified: 100 ns since 1601; 0 for none.
    bool Has(std::u16string_view path, bool isFolder, int64_t size, uint64_t modified);

private:
    struct Rule {
        bool includes;
        PathPattern pattern;
    };

    bool HasLimits() const { return _minSize || _maxSize || _newer || _older; }
    bool AllowsPath(std::u16string_view path, bool isFolder);
    bool AllowsFile(int64_t size, uint64_t modified) const;

    std::vector<Rule> _rules;
    bool _areForNames = true;  // all patterns are
    const std::optional<int64_t> _minSize;
    const std::optional<int64_t> _maxSize;
    const std::optional<uint64_t> _newer;
    const std::optional<uint64_t> _older;
    std::string _path;  // of the entry in question
};

}  // namespace vx
