#include "Choice.h"

#include "CodePoints.h"

#include <cstddef>

namespace vx {

Choice::Choice(const Options &options)
    : _minSize(options.minSize),
      _maxSize(options.maxSize),
      _newer(options.newer),
      _older(options.older)
{
    for (const ChoiceRule &rule : options.rules) {
        _rules.push_back({rule.includes, PathPattern(rule.pattern)});
        _areForNames = _areForNames && _rules.back().pattern.IsForNames();
    }
}

bool Choice::Has(std::u16string_view path, bool isFolder, int64_t size, uint64_t modified)
{
    return (isFolder || AllowsFile(size, modified)) && AllowsPath(path, isFolder);
}

bool Choice::AllowsFile(int64_t size, uint64_t modified) const
{
    if ((_minSize && size < *_minSize) || (_maxSize && size > *_maxSize))
        return false;
    return modified == 0 || ((!_newer || modified >= *_newer) && (!_older || modified < *_older));
}

bool Choice::AllowsPath(std::u16string_view path, bool isFolder)
{
    if (_rules.empty())
        return true;
    // Only what the patterns look at is written anew.
    path.remove_prefix(_areForNames ? path.rfind(u'/') + 1 : 1);
    _path.clear();
    for (size_t at = 0; at < path.size();) {
        const char32_t point = CharacterAt(path, at);
        AppendUtf8(point, &_path);
        at += UnitCount(point);
    }
    for (const Rule &rule : _rules) {
        if (rule.pattern.Matches(_path, isFolder))
            return rule.includes;
    }
    return true;
}

}  // namespace vx
