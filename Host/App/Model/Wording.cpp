#include "Wording.h"

namespace vx {

std::string Wording::Text(const std::string &key, const std::vector<std::string> &arguments) const
{
    const std::string form = translate(key);
    std::string text;
    for (size_t i = 0; i < form.size(); ++i) {
        const bool isPlace = form[i] == '{' && i + 2 < form.size() && form[i + 2] == '}';
        const size_t number = isPlace ? static_cast<size_t>(form[i + 1] - '1') : arguments.size();
        if (number >= arguments.size()) {
            text += form[i];
            continue;
        }
        text += arguments[number];
        i += 2;
    }
    return text;
}

}  // namespace vx
