// One copy of the volume's metadata, parsed and checked.
//
// Ownership: holds copies of what it needs, none of the parsed bytes. Units: bytes, unless a
// name says sectors.
#pragma once

#include "Protector.h"
#include "Sha256.h"

#include <array>

namespace vx::bitlocker {

struct MetadataBlock {
    // The length of the area that a copy of the version has for itself.
    static constexpr size_t kAreaSize = 64 * 1024;
    static constexpr size_t kVistaAreaSize = 16 * 1024;
    static constexpr size_t kHeaderSize = 64;

    // The record that says where the relocated sectors are.
    struct VolumeHeader {
        uint64_t offset = 0;
        uint64_t length = 0;
        uint32_t sectorSize = 0;  // 0: not recorded
        uint64_t flags = 0;       // 0: not recorded
    };

    uint64_t offset = 0;   // of this copy in the volume
    uint16_t version = 0;  // 1: Windows Vista, 2: later
    uint16_t state = 0;
    uint16_t nextState = 0;
    uint64_t encryptedSize = 0;        // version 2: what lies before it is encrypted
    uint32_t relocatedSectors = 0;     // version 2: number of sectors at the front
    uint64_t relocationOffset = 0;     // version 2: where they are stored
    uint64_t mirrorCluster = 0;        // version 1: what belongs at 56 of sector 0
    std::array<uint64_t, 3> copies{};  // offsets of all three copies
    Guid volume;
    uint32_t nonceCounter = 0;
    uint16_t method = 0;
    uint64_t created = 0;     // in 100 ns since 1601-01-01 UTC
    std::string description;  // UTF-8: computer, label, date; may be empty
    std::vector<Protector> protectors;
    std::optional<WrappedKey> wrappedSectorKey;
    std::optional<VolumeHeader> volumeHeader;
    Sha256Digest digest{};  // of the bytes that the stored digest covers
    std::optional<WrappedKey> wrappedDigest;
    std::vector<uint8_t> plainDigest;  // instead, on a decrypted volume

    size_t AreaSize() const { return version == 1 ? kVistaAreaSize : kAreaSize; }

    // area: the bytes from the copy's beginning to the end of its area, or of the image if
    // that comes sooner. Errors: kDamagedMetadata with the rule that is broken.
    static Result<MetadataBlock> Parse(ByteView area, uint64_t offset);

    // What the header of a block says, if it has the signature at least, whether or not it is
    // damaged: the places of the volume's parts and the method, but no keys.
    static std::optional<MetadataBlock> HeaderOf(ByteView area, uint64_t offset);
    // The offsets that a block names, if it has the signature at least, whether or not it is
    // damaged otherwise; else none.
    static std::vector<uint64_t> NamedCopies(ByteView area);
    // The version if the signature is right and the version known, else 0.
    static uint16_t VersionOf(ByteView area);
};

}  // namespace vx::bitlocker
