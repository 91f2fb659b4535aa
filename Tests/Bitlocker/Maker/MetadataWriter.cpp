#include "MetadataWriter.h"

#include "ByteWriter.h"
#include "Entries.h"
#include "KeyWrapper.h"

#include "ByteReader.h"
#include "Crc32.h"
#include "MetadataBlock.h"
#include "PasswordText.h"
#include "RecoveryPassword.h"
#include "Secret.h"

#include <functional>
#include <stdexcept>

namespace vx::bitlocker::maker {

namespace {

constexpr uint16_t kMasterKeyKind = 0x2003;
constexpr uint16_t kDigestKind = 0x2005;

template <typename T>
T OrThrow(Result<T> result)
{
    if (!result)
        throw std::runtime_error(result.Failure().detail);
    return std::move(*result);
}

std::vector<uint8_t> StretchedKey(const Secret &secret, const Salt &salt, uint64_t rounds)
{
    return OrThrow(KeyStretcher(rounds).Stretch(secret.Keys().Key(0), salt, nullptr)).View().Copy();
}

// The key of a protector and the property that says how to get it.
struct ProtectorKey {
    std::vector<uint8_t> key;
    std::vector<uint8_t> property;
};

// What a volume keeps of a secret beside its salt: entries, wrapped under the master key.
using InnerEntries = std::function<std::vector<uint8_t>(const std::vector<uint8_t> &stretched)>;

ProtectorKey MakeStretched(const Secret &secret, const std::vector<uint8_t> &saltBytes,
                           uint64_t rounds, const InnerEntries &innerOf)
{
    Salt salt;
    std::copy(saltBytes.begin(), saltBytes.end(), salt.begin());
    const uint32_t kind = secret.GivenForm() == Secret::Form::kPassword ? 0x1001 : 0x1000;
    const std::vector<uint8_t> key = StretchedKey(secret, salt, rounds);
    return {key,
            MakeEntry(0, 3, ByteWriter().U32(kind).Bytes(saltBytes).Bytes(innerOf(key)).Result())};
}

ProtectorKey MakeProtectorKey(const ProtectorRecipe &recipe, const Guid &identifier,
                              const MadeUpBytes &madeUp, const std::string &label, uint64_t rounds,
                              const InnerEntries &innerOf)
{
    switch (recipe.kind) {
    case ProtectorKind::kPassword:
        return MakeStretched(OrThrow(Secret::FromPassword(recipe.secret)),
                             madeUp.Bytes(label + " salt", sizeof(Salt)), rounds, innerOf);
    case ProtectorKind::kRecoveryPassword:
        return MakeStretched(OrThrow(Secret::FromRecoveryPassword(recipe.secret)),
                             madeUp.Bytes(label + " salt", sizeof(Salt)), rounds, innerOf);
    case ProtectorKind::kExternalKey:
        return {StartupKeyOf(identifier), MakeEntry(0, 4, ByteWriter().U32(0x2002).Result())};
    default:
        break;
    }
    const std::vector<uint8_t> key = madeUp.Bytes(label + " key", 32);
    if (recipe.kind == ProtectorKind::kClearKey)
        return {key, MakeKeyEntry(0x2000, key)};
    return {key, MakeEntry(0, 6, std::vector<uint8_t>(40, 0x33))};
}

}  // namespace

MetadataWriter::MetadataWriter(const VolumeRecipe &recipe, const VolumePlan &plan,
                               uint64_t mirrorCluster)
    : _recipe(recipe),
      _plan(plan),
      _mirrorCluster(mirrorCluster),
      _madeUp(recipe.seed),
      _masterKey(_madeUp.Bytes("master key", 32)),
      _entries(Entries())
{
}

std::vector<uint8_t> MetadataWriter::SectorKey() const
{
    return _madeUp.Bytes("sector key", SectorKeySize(_recipe.method));
}

std::vector<uint8_t> MetadataWriter::Nonce() const
{
    return ByteWriter().U64(kSomeTime).U32(_nonces++).Result();
}

std::vector<uint8_t> MetadataWriter::ProtectorEntry(const ProtectorRecipe &protector,
                                                    size_t index) const
{
    const std::string label = "protector " + std::to_string(index);
    const Guid identifier =
        protector.identifier == Guid() ? _madeUp.GuidOf(label) : protector.identifier;
    const ProtectorKey key =
        MakeProtectorKey(protector, identifier, _madeUp, label, _recipe.rounds,
                         [&](const auto &stretched) { return InnerOf(protector, stretched); });
    std::vector<uint8_t> wrapped = WrapKey(key.key, Nonce(), kMasterKeyKind, _masterKey);
    if (protector.damaged)
        wrapped.back() ^= 1;
    ByteWriter data;
    data.Guid(identifier).U64(kSomeTime).U16(0).U16(static_cast<uint16_t>(protector.kind));
    if (protector.withUnknownProperty)
        data.Bytes(MakeEntry(0, 0x15, std::vector<uint8_t>(20, 0x11)));
    data.Bytes(key.property).Bytes(MakeEntry(0, 5, wrapped));
    return MakeEntry(2, 8, data.Result());
}

// The stretched key, and of a recovery password the password itself.
std::vector<uint8_t> MetadataWriter::InnerOf(const ProtectorRecipe &protector,
                                             const std::vector<uint8_t> &stretched) const
{
    constexpr uint16_t kStretchedKind = 0x2008;
    constexpr uint16_t kRecoveryKind = 0x1000;
    ByteWriter inner;
    inner.Bytes(MakeEntry(0x0013, 5, WrapKey(_masterKey, Nonce(), kStretchedKind, stretched)));
    if (protector.kind == ProtectorKind::kRecoveryPassword) {
        const KeyMaterial password = OrThrow(ParseRecoveryPassword(protector.secret));
        std::vector<uint8_t> wrapped = WrapKey(_masterKey, Nonce(), kRecoveryKind, password.View());
        if (protector.damagedSecret)
            wrapped.back() ^= 1;
        inner.Bytes(MakeEntry(0x0012, 5, wrapped));
    }
    return inner.Result();
}

std::vector<uint8_t> MetadataWriter::HeaderEntry() const
{
    const uint64_t length = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    ByteWriter data;
    data.U64(_plan.relocationOffset).U64(length);
    if (_recipe.headerEntry == VolumeRecipe::HeaderEntry::kLong) {
        const bool toGo = _recipe.layout == Layout::kToGo;
        data.U16(5).U16(0x4c).U32(0).U64(_recipe.conversion ? 0x4a : toGo ? 0x848 : 0x0a).Zeros(12);
        data.U32(_recipe.sectorSize).U32(_recipe.sectorSize).U32(10).U32(0).U32(22000);
        data.U32(2).U32(0).U32(0x02010110).U64(0).U64(0);
    }
    return MakeEntry(0x000f, 0x000f, data.Result());
}

std::vector<uint8_t> MetadataWriter::Entries() const
{
    const std::vector<uint8_t> key = SectorKey();
    const std::vector<uint8_t> sectorKeyEntry =
        key.empty()
            ? std::vector<uint8_t>()
            : MakeEntry(3, 5,
                        WrapKey(_masterKey, Nonce(), static_cast<uint16_t>(_recipe.method), key));
    ByteWriter all;
    if (_recipe.padding > 0)
        all.Bytes(MakeEntry(4, 7, std::vector<uint8_t>(_recipe.padding)));
    const std::optional<KeyMaterial> text = Utf16FromUtf8(_recipe.description);
    all.Bytes(MakeEntry(7, 2, ByteWriter().Bytes(text->View()).U16(0).Result()));
    if (_recipe.sectorKeyFirst || _recipe.protectors.empty())
        all.Bytes(sectorKeyEntry);
    for (size_t index = 0; index < _recipe.protectors.size(); ++index) {
        all.Bytes(ProtectorEntry(_recipe.protectors[index], index));
        if (index == 0 && !_recipe.sectorKeyFirst)
            all.Bytes(sectorKeyEntry);
    }
    if (_recipe.layout != Layout::kVista && _recipe.headerEntry != VolumeRecipe::HeaderEntry::kNone)
        all.Bytes(HeaderEntry());
    return all.Result();
}

std::vector<uint8_t> MetadataWriter::BlockHeader(size_t covered) const
{
    const bool vista = _recipe.layout == Layout::kVista;
    ByteWriter header;
    header.Text("-FVE-FS-").U16(static_cast<uint16_t>(vista ? covered : covered / 16));
    header.U16(vista ? 1 : 2).U16(_recipe.state).U16(_recipe.nextState);
    header.U64(_plan.encryptedSize).U32(0).U32(_plan.relocatedSectors);
    for (uint64_t copy : _plan.copies)
        header.U64(copy);
    return header.U64(vista ? _mirrorCluster : _plan.relocationOffset).Result();
}

std::vector<uint8_t> MetadataWriter::Validation(ByteView covered) const
{
    const Sha256Digest digest = Sha256(covered);
    const ByteView bytes(digest.data(), digest.size());
    ByteWriter block;
    block.U16(static_cast<uint16_t>(_plan.areaSize - covered.size));
    block.U16(_recipe.layout == Layout::kVista ? 1 : 2).U32(Crc32().Add(covered).Value());
    if (_recipe.protectors.empty())
        return block.Bytes(MakeKeyEntry(kDigestKind, bytes)).Result();
    const std::vector<uint8_t> wrapped = WrapKey(_masterKey, Nonce(), kDigestKind, bytes);
    return block.Bytes(MakeEntry(0, 5, wrapped)).Result();
}

std::vector<uint8_t> MetadataWriter::Area(size_t copy) const
{
    const auto size = static_cast<uint32_t>(48 + _entries.size());
    const size_t covered = (64 + size + 15) / 16 * 16;
    ByteWriter area;
    area.Bytes(BlockHeader(covered));
    area.U32(size).U32(1).U32(48).U32(size).Guid(_madeUp.GuidOf("volume"));
    area.U32(_recipe.nonceCounters[copy]).U16(static_cast<uint16_t>(_recipe.method));
    area.U16(0).U64(kSomeTime).Bytes(_entries).Pad(16);
    const std::vector<uint8_t> check = Validation(area.Result());
    area.Bytes(check);
    if (area.Size() > _plan.areaSize)
        throw std::runtime_error("the metadata does not fit its area");
    return area.Zeros(_plan.areaSize - area.Size()).Result();
}

void RenewChecksum(std::vector<uint8_t> &image, uint64_t copy)
{
    const ByteView block = ByteView(image).From(static_cast<size_t>(copy));
    ByteReader reader(block, 8);
    const size_t stored = reader.U16();
    const size_t covered = reader.U16() == 1 ? stored : stored * 16;
    PutU32(image, static_cast<size_t>(copy) + covered + 4,
           Crc32().Add(block.First(covered)).Value());
}

}  // namespace vx::bitlocker::maker
