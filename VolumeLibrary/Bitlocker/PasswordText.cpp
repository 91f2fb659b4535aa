#include "PasswordText.h"

#include "CodePoints.h"

namespace vx::bitlocker {
namespace {

void PutUnit(uint8_t *&place, char16_t unit)
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
        const char32_t point = TakeCharacter(&text);
        if (point == kInvalidCharacter)
            return std::nullopt;
        PutUnit(place, FirstUnit(point));
        if (UnitCount(point) == 2)
            PutUnit(place, SecondUnit(point));
    }
    return KeyMaterial(units.View().First(static_cast<size_t>(place - units.Data())));
}

}  // namespace vx::bitlocker
