// What DiskReport.h reports of an encrypted volume.
#pragma once

#include "DiskReport.h"
#include "EncryptionFacts.h"
#include "ReportArena.h"

namespace vx {

// Of a volume that claims more, the others are left out.
constexpr size_t kMostProtectors = 256;

// The kinds of unlock that the library takes for a protector, separated by spaces; empty for one
// that it cannot use.
const char *UnlockKindsFor(bitlocker::ProtectorKind kind);

DiskEncryptionReport MakeEncryptionReport(const bitlocker::EncryptionFacts &facts,
                                          ReportArena *arena);

}  // namespace vx
