#include "PasswordText.h"

#include "Utf16.h"

namespace vx::bitlocker {
namespace {

void PutUnit(uint8_t *&place, char32_t unit)
{
    *place++ = static_cast<uint8_t>(unit);
    *place++ = static_cast<uint8_t>(unit >> 8);
}

}  // namespace

std::optional<KeyMaterial> Utf16FromUtf8(std::string_view text)
{
    KeyMaterial units(text.size() * 2);  // never longer: one byte gives one unit at most
    uint8_t *place = units.Data();
    while (!text.empty()) {
        const char32_t value = TakeUtf8Character(text);
        if (value == kInvalidCharacter)
            return std::nullopt;
        if (value < 0x10000) {
            PutUnit(place, value);
            continue;
        }
        PutUnit(place, 0xd800 + ((value - 0x10000) >> 10));
        PutUnit(place, 0xdc00 + ((value - 0x10000) & 0x3ff));
    }
    return KeyMaterial(units.View().First(static_cast<size_t>(place - units.Data())));
}

}  // namespace vx::bitlocker
