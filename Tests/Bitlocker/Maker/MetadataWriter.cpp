#include "MetadataWriter.h"

#include "ByteWriter.h"
#include "Entries.h"
#include "KeyWrapper.h"

#include "Bitlocker/ByteReader.h"
#include "Bitlocker/Crc32.h"
#include "Bitlocker/MetadataBlock.h"
#include "Bitlocker/Secret.h"
#include "Bitlocker/Utf16.h"

#include <stdexcept>

namespace vx::bitlocker::maker {

namespace {

constexpr uint16_t kMasterKeyKind = 0x2003;
constexpr uint16_t kDigestKind = 0x2005;

template <typename T>
T orThrow(Result<T> result)
{
    if (!result)
        throw std::runtime_error(describe(result.error()));
    return std::move(*result);
}

std::vector<uint8_t> stretchedKey(const Secret &secret, const Salt &salt, uint64_t rounds)
{
    return orThrow(KeyStretcher(rounds).stretch(secret.key(), salt, nullptr)).view().copy();
}

// The key of a protector and the property that says how to get it.
struct ProtectorKey {
    std::vector<uint8_t> key;
    std::vector<uint8_t> property;
};

ProtectorKey makeStretched(const Secret &secret, const std::vector<uint8_t> &saltBytes,
                           uint64_t rounds)
{
    Salt salt;
    std::copy(saltBytes.begin(), saltBytes.end(), salt.begin());
    const uint32_t kind = secret.kind() == ProtectorKind::Password ? 0x1001 : 0x1000;
    // A copy of the stretched key under the master key follows on real volumes; nobody needs it.
    const std::vector<uint8_t> inner = makeEntry(0x0013, 0x0005, std::vector<uint8_t>(72, 0x5a));
    return {stretchedKey(secret, salt, rounds),
            makeEntry(0, 3, ByteWriter().u32(kind).bytes(saltBytes).bytes(inner).result())};
}

ProtectorKey makeProtectorKey(const ProtectorRecipe &recipe, const Guid &identifier,
                              const MadeUpBytes &madeUp, const std::string &label, uint64_t rounds)
{
    switch (recipe.kind) {
    case ProtectorKind::Password:
        return makeStretched(orThrow(Secret::password(recipe.secret)),
                             madeUp.bytes(label + " salt", sizeof(Salt)), rounds);
    case ProtectorKind::RecoveryPassword:
        return makeStretched(orThrow(Secret::recoveryPassword(recipe.secret)),
                             madeUp.bytes(label + " salt", sizeof(Salt)), rounds);
    case ProtectorKind::ExternalKey:
        return {startupKeyOf(identifier), makeEntry(0, 4, ByteWriter().u32(0x2002).result())};
    default:
        break;
    }
    const std::vector<uint8_t> key = madeUp.bytes(label + " key", 32);
    if (recipe.kind == ProtectorKind::ClearKey)
        return {key, makeKeyEntry(0x2000, key)};
    return {key, makeEntry(0, 6, std::vector<uint8_t>(40, 0x33))};
}

}  // namespace

MetadataWriter::MetadataWriter(const VolumeRecipe &recipe, const VolumePlan &plan,
                               uint64_t mirrorCluster)
    : _recipe(recipe),
      _plan(plan),
      _mirrorCluster(mirrorCluster),
      _madeUp(recipe.seed),
      _masterKey(_madeUp.bytes("master key", 32)),
      _entries(entries())
{
}

std::vector<uint8_t> MetadataWriter::sectorKey() const
{
    return _madeUp.bytes("sector key", sectorKeySize(_recipe.method));
}

std::vector<uint8_t> MetadataWriter::nonce() const
{
    return ByteWriter().u64(kSomeTime).u32(_nonces++).result();
}

std::vector<uint8_t> MetadataWriter::protectorEntry(const ProtectorRecipe &protector,
                                                    size_t index) const
{
    const std::string label = "protector " + std::to_string(index);
    const Guid identifier =
        protector.identifier == Guid() ? _madeUp.guid(label) : protector.identifier;
    const ProtectorKey key =
        makeProtectorKey(protector, identifier, _madeUp, label, _recipe.rounds);
    std::vector<uint8_t> wrapped = wrapKey(key.key, nonce(), kMasterKeyKind, _masterKey);
    if (protector.damaged)
        wrapped.back() ^= 1;
    ByteWriter data;
    data.guid(identifier).u64(kSomeTime).u16(0).u16(static_cast<uint16_t>(protector.kind));
    if (protector.withUnknownProperty)
        data.bytes(makeEntry(0, 0x15, std::vector<uint8_t>(20, 0x11)));
    data.bytes(key.property).bytes(makeEntry(0, 5, wrapped));
    return makeEntry(2, 8, data.result());
}

std::vector<uint8_t> MetadataWriter::headerEntry() const
{
    const uint64_t length = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    ByteWriter data;
    data.u64(_plan.relocationOffset).u64(length);
    if (_recipe.headerEntry == VolumeRecipe::HeaderEntry::Long) {
        data.u16(5).u16(0x4c).u32(0).u64(0x0a).zeros(12);
        data.u32(_recipe.sectorSize).u32(_recipe.sectorSize).u32(10).u32(0).u32(22000);
        data.u32(2).u32(0).u32(0x02010110).u64(0).u64(0);
    }
    return makeEntry(0x000f, 0x000f, data.result());
}

std::vector<uint8_t> MetadataWriter::entries() const
{
    const std::vector<uint8_t> key = sectorKey();
    const std::vector<uint8_t> sectorKeyEntry =
        key.empty()
            ? std::vector<uint8_t>()
            : makeEntry(3, 5,
                        wrapKey(_masterKey, nonce(), static_cast<uint16_t>(_recipe.method), key));
    ByteWriter all;
    if (_recipe.padding > 0)
        all.bytes(makeEntry(4, 7, std::vector<uint8_t>(_recipe.padding)));
    const std::optional<KeyMaterial> text = utf16FromUtf8(_recipe.description);
    all.bytes(makeEntry(7, 2, ByteWriter().bytes(text->view()).u16(0).result()));
    if (_recipe.sectorKeyFirst || _recipe.protectors.empty())
        all.bytes(sectorKeyEntry);
    for (size_t index = 0; index < _recipe.protectors.size(); ++index) {
        all.bytes(protectorEntry(_recipe.protectors[index], index));
        if (index == 0 && !_recipe.sectorKeyFirst)
            all.bytes(sectorKeyEntry);
    }
    if (_recipe.layout != Layout::Vista && _recipe.headerEntry != VolumeRecipe::HeaderEntry::None)
        all.bytes(headerEntry());
    return all.result();
}

std::vector<uint8_t> MetadataWriter::blockHeader(size_t covered) const
{
    const bool vista = _recipe.layout == Layout::Vista;
    ByteWriter header;
    header.text("-FVE-FS-").u16(static_cast<uint16_t>(vista ? covered : covered / 16));
    header.u16(vista ? 1 : 2).u16(_recipe.state).u16(_recipe.nextState);
    header.u64(_plan.encryptedSize).u32(0).u32(_plan.relocatedSectors);
    for (uint64_t copy : _plan.copies)
        header.u64(copy);
    return header.u64(vista ? _mirrorCluster : _plan.relocationOffset).result();
}

std::vector<uint8_t> MetadataWriter::validation(ByteView covered) const
{
    const Sha256Digest digest = sha256(covered);
    const ByteView bytes(digest.data(), digest.size());
    ByteWriter block;
    block.u16(static_cast<uint16_t>(_plan.areaSize - covered.size));
    block.u16(_recipe.layout == Layout::Vista ? 1 : 2).u32(Crc32().add(covered).value());
    if (_recipe.protectors.empty())
        return block.bytes(makeKeyEntry(kDigestKind, bytes)).result();
    const std::vector<uint8_t> wrapped = wrapKey(_masterKey, nonce(), kDigestKind, bytes);
    return block.bytes(makeEntry(0, 5, wrapped)).result();
}

std::vector<uint8_t> MetadataWriter::area(size_t copy) const
{
    const auto size = static_cast<uint32_t>(48 + _entries.size());
    const size_t covered = (64 + size + 15) / 16 * 16;
    ByteWriter area;
    area.bytes(blockHeader(covered));
    area.u32(size).u32(1).u32(48).u32(size).guid(_madeUp.guid("volume"));
    area.u32(_recipe.nonceCounters[copy]).u16(static_cast<uint16_t>(_recipe.method));
    area.u16(0).u64(kSomeTime).bytes(_entries).pad(16);
    const std::vector<uint8_t> check = validation(area.result());
    area.bytes(check);
    if (area.size() > _plan.areaSize)
        throw std::runtime_error("the metadata does not fit its area");
    return area.zeros(_plan.areaSize - area.size()).result();
}

void renewChecksum(std::vector<uint8_t> &image, uint64_t copy)
{
    const ByteView block = ByteView(image).from(static_cast<size_t>(copy));
    ByteReader reader(block, 8);
    const size_t stored = reader.u16();
    const size_t covered = reader.u16() == 1 ? stored : stored * 16;
    putU32(image, static_cast<size_t>(copy) + covered + 4,
           Crc32().add(block.first(covered)).value());
}

}  // namespace vx::bitlocker::maker
