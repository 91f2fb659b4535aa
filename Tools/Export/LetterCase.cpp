#include "LetterCase.h"

#include <cwctype>
#include <locale>

namespace vx {
namespace {

// All of Unicode is in them; systems know different ones.
constexpr const char *kLocales[] = {"C.UTF-8", "UTF-8", "en_US.UTF-8"};

locale_t OpenLocale()
{
    for (const char *name : kLocales) {
        const locale_t opened = newlocale(LC_CTYPE_MASK, name, nullptr);
        if (opened != nullptr)
            return opened;
    }
    return nullptr;
}

}  // namespace

char32_t CaselessOf(char32_t character)
{
    static const locale_t locale = OpenLocale();
    if (locale == nullptr)
        return character;
    const auto capital = towupper_l(static_cast<wint_t>(character), locale);
    return static_cast<char32_t>(towlower_l(capital, locale));
}

}  // namespace vx
