#include "VolumeRecipe.h"

namespace vx::bitlocker::maker {

ProtectorRecipe ProtectorRecipe::password(const std::string &text)
{
    ProtectorRecipe recipe;
    recipe.secret = text;
    return recipe;
}

ProtectorRecipe ProtectorRecipe::recovery(const std::string &text)
{
    ProtectorRecipe recipe = ofKind(ProtectorKind::RecoveryPassword);
    recipe.secret = text;
    return recipe;
}

ProtectorRecipe ProtectorRecipe::clearKey()
{
    return ofKind(ProtectorKind::ClearKey);
}

ProtectorRecipe ProtectorRecipe::startupKey(const Guid &identifier)
{
    ProtectorRecipe recipe = ofKind(ProtectorKind::ExternalKey);
    recipe.identifier = identifier;
    return recipe;
}

ProtectorRecipe ProtectorRecipe::ofKind(ProtectorKind kind)
{
    ProtectorRecipe recipe;
    recipe.kind = kind;
    return recipe;
}

}  // namespace vx::bitlocker::maker
