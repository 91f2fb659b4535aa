#include "OpeningWays.h"

#include "ReportText.h"
#include "TextTable.h"

#include <algorithm>
#include <sstream>

namespace vx {
namespace {

struct KindWords {
    const char *kind;    // as the library's entry takes it
    const char *secret;  // what stands for the secret
    const char *words;
};

constexpr KindWords kKinds[] = {
    {"password", "-", "the password, which is asked for"},
    {"recovery", "-", "the recovery password of 48 digits, which is asked for"},
    {"recovery-file", "FILE", "the text file in which Windows saved it"},
    {"startup-key", "FILE", "the startup key, a file whose name ends in .BEK"},
    {"key-ring", "PATH", "a folder or a file with many recovery keys and startup keys"},
    {"vmk", "KEY", "the volume master key: hexadecimal digits or a file"},
    {"fvek", "KEY", "the key of the sectors: the same"},
};

// Several protectors may open with secrets of one kind.
struct Way {
    std::string kind;
    std::vector<std::string> keyIds;
};

Way &WayOf(const std::string &kind, std::vector<Way> *ways)
{
    const auto found = std::find_if(ways->begin(), ways->end(),
                                    [&kind](const Way &way) { return way.kind == kind; });
    if (found != ways->end())
        return *found;
    ways->push_back({kind, {}});
    return ways->back();
}

std::vector<Way> WaysOf(const DiskEncryptionReport &encryption)
{
    std::vector<Way> ways;
    for (uint64_t i = 0; i < encryption.protectorCount; ++i) {
        const DiskProtectorReport &protector = encryption.protectors[i];
        std::istringstream kinds(protector.unlockKinds);
        for (std::string kind; kinds >> kind;) {
            if (kind != "none")
                WayOf(kind, &ways).keyIds.push_back(KeyIdOf(Shown(protector.identifier)));
        }
    }
    return ways;
}

KindWords WordsOf(const std::string &kind)
{
    for (const KindWords &words : kKinds) {
        if (kind == words.kind)
            return words;
    }
    return {kind.c_str(), "SECRET", ""};
}

// Of the metadata; the key of the sectors does without.
bool HasMetadata(const DiskEncryptionReport &encryption)
{
    return *encryption.method != '\0';
}

// They need no protector.
std::vector<std::string> RawKinds(const DiskEncryptionReport &encryption)
{
    if (HasMetadata(encryption))
        return {"vmk", "fvek"};
    return {"fvek"};
}

std::string KeyIdText(const std::vector<std::string> &keyIds)
{
    std::string text;
    for (const std::string &keyId : keyIds)
        text += (text.empty() ? "" : ", ") + keyId;
    return text;
}

std::string ExampleText(const std::string &address, const std::string &unlock)
{
    return "  For example: volume-export --list " + address + unlock + "\n";
}

TextTable::Row RowOf(const std::string &kind, const std::string &keyIds)
{
    const KindWords words = WordsOf(kind);
    return {"--unlock " + Shown(words.kind) + " " + words.secret, keyIds, words.words};
}

}  // namespace

std::vector<std::string> UnlockKindsOf(const DiskEncryptionReport &encryption)
{
    if (encryption.hasClearKey)
        return {"none"};
    std::vector<std::string> kinds;
    for (const Way &way : WaysOf(encryption))
        kinds.push_back(way.kind);
    const std::vector<std::string> raw = RawKinds(encryption);
    kinds.insert(kinds.end(), raw.begin(), raw.end());
    return kinds;
}

std::string OpeningWaysText(const DiskEncryptionReport &encryption, const std::string &address)
{
    if (encryption.hasClearKey)
        return "  Opens without a secret.\n" + ExampleText(address, "");
    if (!HasMetadata(encryption))
        return "  Nothing but the key of the sectors (--unlock fvek) may open it, since no copy of "
               "its metadata can be used.\n";
    const std::vector<Way> ways = WaysOf(encryption);
    TextTable table(2);
    table.Add({"Opens with", "Key ID", "Secret"});
    for (const Way &way : ways)
        table.Add(RowOf(way.kind, KeyIdText(way.keyIds)));
    for (const std::string &kind : RawKinds(encryption))
        table.Add(RowOf(kind, ""));
    if (ways.empty())
        return table.Text() +
               "  No protector can be used here. On the Windows computer that opens the volume, "
               "add a\n  password or a recovery password, or suspend the protection.\n";
    const KindWords first = WordsOf(ways.front().kind);
    return table.Text() +
           ExampleText(address, " --unlock " + Shown(first.kind) + " " + first.secret);
}

}  // namespace vx
