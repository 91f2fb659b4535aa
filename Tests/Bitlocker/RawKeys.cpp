#include "RawKeys.h"

#include "Maker/MadeUpBytes.h"
#include "Maker/VolumeRecipe.h"

namespace vx::bitlocker {
namespace {

std::string Hex(const std::vector<uint8_t> &bytes)
{
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

}  // namespace

std::string MasterKeyText()
{
    return Hex(maker::MadeUpBytes(maker::VolumeRecipe().seed).Bytes("master key", 32));
}

std::string SectorKeyText(Method method)
{
    const maker::MadeUpBytes madeUp(maker::VolumeRecipe().seed);
    return Hex(madeUp.Bytes("sector key", SectorKeySize(method)));
}

Secret MasterKey(const std::string &text)
{
    return std::move(*Secret::FromMasterKey(text.c_str()));
}

Secret SectorKey(const std::string &text)
{
    return std::move(*Secret::FromSectorKey(text.c_str()));
}

std::string WithOtherDigit(std::string text)
{
    text[0] = text[0] == '0' ? '1' : '0';
    return text;
}

}  // namespace vx::bitlocker
