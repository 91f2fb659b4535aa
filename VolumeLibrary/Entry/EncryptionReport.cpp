#include "EncryptionReport.h"

#include <algorithm>

namespace vx {
namespace {

using bitlocker::EncryptionFacts;
using bitlocker::EncryptionState;
using bitlocker::Layout;
using bitlocker::MetadataBlock;
using bitlocker::Protector;
using bitlocker::ProtectorKind;

static_assert(EncryptionFacts::kUnknownBytes == kUnknownEncryptedBytes);

const char *NameOf(Layout layout)
{
    switch (layout) {
    case Layout::kVista:
        return "vista";
    case Layout::kWindows7:
        return "windows-7";
    case Layout::kToGo:
        break;
    }
    return "to-go";
}

const char *NameOf(EncryptionState state)
{
    switch (state) {
    case EncryptionState::kEncrypted:
        return "encrypted";
    case EncryptionState::kDecrypted:
        return "decrypted";
    case EncryptionState::kEncrypting:
        return "encrypting";
    case EncryptionState::kDecrypting:
        return "decrypting";
    case EncryptionState::kPaused:
        return "paused";
    case EncryptionState::kUnknown:
        break;
    }
    return "unknown";
}

DiskProtectorReport ReportOf(const Protector &protector, ReportArena *arena)
{
    DiskProtectorReport report = {};
    report.kind = ProtectorKindToken(protector.kind);
    report.kindText = arena->Text(ProtectorKindName(protector.kind));
    report.kindNumber = static_cast<uint32_t>(protector.kind);
    report.identifier = arena->Text(protector.identifier.Capitals());
    report.changed = protector.changed;
    report.unlockKinds = UnlockKindsFor(protector.kind);
    return report;
}

void TakeBlock(const MetadataBlock &block, DiskEncryptionReport *report, ReportArena *arena)
{
    report->method = arena->Text(MethodName(static_cast<bitlocker::Method>(block.method)));
    report->identifier = arena->Text(block.volume.Capitals());
    report->description = arena->Text(block.description);
    report->created = block.created;
    std::vector<DiskProtectorReport> protectors;
    for (const Protector &protector : block.protectors) {
        if (protectors.size() < kMostProtectors)
            protectors.push_back(ReportOf(protector, arena));
        if (protector.kind == ProtectorKind::kClearKey)
            report->hasClearKey = true;
    }
    report->protectors = arena->List(protectors);
    report->protectorCount = protectors.size();
}

}  // namespace

const char *UnlockKindsFor(ProtectorKind kind)
{
    switch (kind) {
    case ProtectorKind::kClearKey:
        return "none";
    case ProtectorKind::kPassword:
        return "password";
    case ProtectorKind::kRecoveryPassword:
        return "recovery recovery-file key-ring";
    case ProtectorKind::kExternalKey:
        return "startup-key key-ring";
    default:
        return "";
    }
}

DiskEncryptionReport MakeEncryptionReport(const EncryptionFacts &facts, ReportArena *arena)
{
    DiskEncryptionReport report = {};
    report.layout = NameOf(facts.layout);
    report.method = "";
    report.state = NameOf(facts.state);
    report.encryptedBytes = facts.encryptedBytes;
    report.identifier = "";
    report.description = "";
    report.sectorBytes = facts.sectorBytes;
    if (facts.copy)
        TakeBlock(*facts.copy, &report, arena);
    std::vector<DiskMetadataReport> copies;
    for (const bitlocker::ExaminedCopy &copy : facts.examined)
        copies.push_back({copy.offset, arena->Text(copy.problem)});
    report.copies = arena->List(copies);
    report.copyCount = copies.size();
    return report;
}

}  // namespace vx
