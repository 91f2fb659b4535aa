#include "RecoveryPassword.h"

#include "CodePoints.h"
#include "PlainSign.h"
#include "RecoveryPasswordGroups.h"

namespace vx::bitlocker {

Result<KeyMaterial> ParseRecoveryPassword(std::string_view text)
{
    KeyMaterial plain(text.size());  // never longer: one byte gives one sign at most
    size_t length = 0;
    while (!text.empty())
        plain.Data()[length++] = static_cast<uint8_t>(PlainSign(TakeCharacter(&text)));
    return RecoveryPasswordGroups(plain.View().First(length)).Key();
}

}  // namespace vx::bitlocker
