#include "Guid.h"

namespace vx {

std::string Guid::Text() const
{
    static constexpr int kOrder[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (int index : kOrder) {
        if (text.size() == 8 || text.size() == 13 || text.size() == 18 || text.size() == 23)
            text += '-';
        text += kDigits[bytes[index] >> 4];
        text += kDigits[bytes[index] & 15];
    }
    return text;
}

std::string Guid::Capitals() const
{
    std::string capitals = Text();
    for (char &digit : capitals)
        digit = digit >= 'a' && digit <= 'f' ? static_cast<char>(digit - 'a' + 'A') : digit;
    return capitals;
}

}  // namespace vx
