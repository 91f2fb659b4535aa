#include "VolumeRecipe.h"

namespace vx::bitlocker::maker {

ProtectorRecipe ProtectorRecipe::Password(const std::string &text)
{
    ProtectorRecipe recipe;
    recipe.secret = text;
    return recipe;
}

ProtectorRecipe ProtectorRecipe::Recovery(const std::string &text)
{
    ProtectorRecipe recipe = OfKind(ProtectorKind::kRecoveryPassword);
    recipe.secret = text;
    return recipe;
}

ProtectorRecipe ProtectorRecipe::ClearKey()
{
    return OfKind(ProtectorKind::kClearKey);
}

ProtectorRecipe ProtectorRecipe::StartupKey(const Guid &identifier)
{
    ProtectorRecipe recipe = OfKind(ProtectorKind::kExternalKey);
    recipe.identifier = identifier;
    return recipe;
}

ProtectorRecipe ProtectorRecipe::OfKind(ProtectorKind kind)
{
    ProtectorRecipe recipe;
    recipe.kind = kind;
    return recipe;
}

}  // namespace vx::bitlocker::maker
