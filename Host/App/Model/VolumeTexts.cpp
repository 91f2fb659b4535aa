#include "VolumeTexts.h"

namespace vx {
namespace {

struct Name {
    const char *name;  // for programs
    const char *text;
};

constexpr Name kKinds[] = {
    {"ntfs", "NTFS"}, {"fat", "FAT"}, {"exfat", "exFAT"}, {"folder", "Folder"}};

constexpr Name kStates[] = {{"decrypted", "It is not encrypted any more."},
                            {"encrypting", "Encrypting it was not finished."},
                            {"decrypting", "Decrypting it was not finished."},
                            {"paused", "Encrypting it was paused."}};

template <size_t kCount>
std::string Named(const Name (&names)[kCount], const std::string &name)
{
    for (const Name &each : names) {
        if (name == each.name)
            return each.text;
    }
    return "";
}

// Empty for what does not open.
std::string KindText(const VolumeFacts &volume, const Wording &wording)
{
    if (volume.kind == "encrypted")
        return wording.Text("Encrypted with BitLocker");
    const std::string known = Named(kKinds, volume.kind);
    return known.empty() ? "" : wording.Text(known);
}

void AppendPart(const std::string &part, const char *separator, std::string *text)
{
    if (part.empty())
        return;
    *text += (text->empty() ? "" : separator) + part;
}

std::string SizeOf(const VolumeFacts &volume, const Wording &wording)
{
    return volume.bytes == 0 ? "" : wording.size(volume.bytes);
}

std::string NameOf(SecretKind kind, const Wording &wording)
{
    switch (kind) {
    case SecretKind::kPassword:
        return wording.Text("Password");
    case SecretKind::kRecoveryKey:
        return wording.Text("Recovery key");
    case SecretKind::kStartupKey:
        return wording.Text("Startup key file (.BEK)");
    case SecretKind::kRecoveryFile:
        return wording.Text("Recovery key file (.TXT)");
    case SecretKind::kNone:
        break;
    }
    return wording.Text("Nothing is needed");
}

}  // namespace

std::string VolumeTitle(const VolumeFacts &volume, const Wording &wording)
{
    std::string text = KindText(volume, wording);
    if (text.empty())
        text = volume.kindText;
    if (!volume.label.empty())
        text += " \"" + volume.label + "\"";
    AppendPart(SizeOf(volume, wording), ", ", &text);
    return volume.number == 0 ? text : std::to_string(volume.number) + ": " + text;
}

std::string VolumeSummary(const VolumeFacts &volume, const Wording &wording)
{
    std::string text = KindText(volume, wording);
    if (text.empty())
        text = wording.Text(volume.kind == "unreadable" ? "Unreadable" : "Other contents");
    AppendPart(volume.method, ", ", &text);
    AppendPart(SizeOf(volume, wording), ", ", &text);
    AppendPart(wording.Text(Named(kStates, volume.state)), "\n", &text);
    if (volume.hasClearKey)
        AppendPart(wording.Text("Its protection is suspended: nothing is needed to open it."), "\n",
                   &text);
    AppendPart(volume.description, "\n", &text);
    return text;
}

std::string ClosedReason(const VolumeFacts &volume, const Wording &wording)
{
    if (MayBeLost(volume))
        return wording.Text("Nothing is recognised here. If there was an encrypted volume, its "
                            "password or key may still open it.");
    if (!UnlockChoices(volume).empty())
        return "";
    if (volume.kind == "encrypted")
        return wording.Text("The volume can only be unlocked in a way that is not supported.");
    return wording.Text("This volume cannot be opened here.");
}

std::string ClosedDetail(const VolumeFacts &volume)
{
    std::string text;
    const bool isSaid = volume.kind == "encrypted" || (volume.kind == "other" && MayBeLost(volume));
    if (Named(kKinds, volume.kind).empty() && !isSaid)
        text = volume.kindText;
    if (!UnlockChoices(volume).empty())
        return text;
    for (const ProtectorFacts &protector : volume.protectors)
        AppendPart(protector.kindText, "\n", &text);
    AppendPart(volume.nextStep, "\n", &text);
    return text;
}

std::string ChoiceTitle(const UnlockChoice &choice, const Wording &wording)
{
    std::string name = NameOf(choice.kind, wording);
    if (choice.kind != SecretKind::kRecoveryKey || choice.identifiers.empty())
        return name;
    std::string identifiers;
    for (const std::string &identifier : choice.identifiers)
        AppendPart(identifier, ", ", &identifiers);
    return name + " (" + identifiers + ")";
}

}  // namespace vx
