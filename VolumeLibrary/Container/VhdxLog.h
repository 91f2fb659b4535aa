// Replays the log of a VHDX file in memory: the changes of its tables that the last program to use
// it may not have written any more. The file itself is never changed.
//
// Format: [MS-VHDX], section 2.3; note 5 allows to replay in memory. The log is a ring of pages.
// Its newest complete sequence of entries is applied whole, as 2.3.3 demands. An entry counts if it
// has the log's identifier, fits its CRC-32C and repeats its sequence number in each descriptor and
// page. Without a complete sequence, and if the file is shorter than the last entry knows it to
// be, the image must not be opened: its tables would be those of an earlier time, or lost. So is
// one whose log cannot be read whole, since its newest sequence could be in the unread part.
//
// One case is milder than 2.3.3 has it. If the log holds nothing but zeros and entries of earlier
// logs, whole or partly overwritten by each other, no entry was ever written to it: changes are
// written to the log first, and its entries are only replaced by newer ones. The tables are
// complete then, as after a program that ended between changing the header and writing to the log.
// The image opens, with a note. Whatever else is in the log may be a damaged entry, so the image
// does not open: an entry with the log's identifier, one that does not fit its checksum although
// nothing has overwritten it, or a page of descriptors or data without an entry before it.
//
// Nothing outside of the log is read. Memory: 44 bytes for each page of the log while it is
// searched, then what ReplayedSource.h says. Time: at most 8 times the log is checked.
#pragma once

#include "ReplayedSource.h"
#include "VhdxHeader.h"

namespace vx {

constexpr uint32_t kLargestVhdxLog = uint32_t{64} << 20;

struct ReplayedVhdx {
    std::shared_ptr<const ByteSource> file;  // the given one if there was nothing to replay
    std::string note;                        // what there is to say of the log; empty for nothing
};

// Errors: kDamagedContainer, kTruncatedImage, kUnsupportedContainer for a log that is too large or
// of another version, and those of the file's reads.
Result<ReplayedVhdx> ReplayVhdxLog(const std::shared_ptr<const ByteSource> &file,
                                   const VhdxHeader &header);

}  // namespace vx
