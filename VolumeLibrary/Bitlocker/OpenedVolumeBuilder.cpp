#include "OpenedVolumeBuilder.h"

#include "FileSystemProbe.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr uint16_t kStateEncrypted = 4;
constexpr uint16_t kStateDecrypted = 1;
constexpr uint64_t kMirrorClusterAt = 56;

bool isInState(const MetadataBlock &copy, uint16_t state)
{
    return copy.state == state && copy.nextState == state;
}

std::vector<DecryptedVolume::Patch> patchesFor(const MetadataBlock &copy)
{
    if (copy.version != 1)
        return {};
    DecryptedVolume::Patch name = {3, {'N', 'T', 'F', 'S', ' ', ' ', ' ', ' '}};
    DecryptedVolume::Patch mirror = {kMirrorClusterAt, {}};
    for (size_t i = 0; i < mirror.bytes.size(); ++i)
        mirror.bytes[i] = static_cast<uint8_t>(copy.mirrorCluster >> (8 * i));
    return {name, mirror};
}

bool isPlausible(const DecryptedVolume &volume)
{
    uint8_t sector[BootSector::kSize];
    return !volume.readAt(0, sector, sizeof sector) &&
           looksLikeFileSystem({sector, sizeof sector}) &&
           (statedSectorSize({sector, sizeof sector}) == 0 ||
            statedSectorSize({sector, sizeof sector}) == volume.sectorSize());
}

}  // namespace

OpenedVolumeBuilder::OpenedVolumeBuilder(std::shared_ptr<const ByteSource> source,
                                         const KeyStretcher &stretcher, const CancelFlag *cancel)
    : _source(std::move(source)), _stretcher(stretcher), _cancel(cancel)
{
}

Error OpenedVolumeBuilder::readMetadata()
{
    std::vector<uint8_t> sector(BootSector::kSize);
    if (_source->size() < sector.size())
        return {Status::NotBitlocker, "shorter than one sector"};
    if (Error error = _source->readAt(0, sector.data(), sector.size()))
        return error;
    Result<BootSector> boot = BootSector::parse(sector);
    if (!boot)
        return boot.error();
    _boot = *boot;
    Result<MetadataCopies> copies = MetadataLocator(*_source, _boot, _cancel).locate();
    if (!copies)
        return copies.error();
    _copies = std::move(*copies);
    return {};
}

void OpenedVolumeBuilder::loadMap()
{
    if (!_boot.converting)
        return;
    Result<ConversionMap> map =
        ConversionMap::load(*_source, _boot.conversionOffsets, sectorSizes().front());
    if (map)
        _map = std::move(*map);
    else
        _mapError = map.error();
}

bool OpenedVolumeBuilder::needsNoKey() const
{
    const MetadataBlock &copy = _copies.usable.front();
    if (copy.version == 1)
        return false;
    if (_map)
        return _map->isAllPlain();
    return copy.encryptedSize == 0 && (!_boot.converting || isInState(copy, kStateDecrypted));
}

// The first copy whose digest is right, as far as it can be checked without a key.
UnlockedKey OpenedVolumeBuilder::withoutKey() const
{
    const auto isSound = [](const MetadataBlock &copy) {
        return copy.plainDigest.empty() ||
               (copy.plainDigest.size() == copy.digest.size() &&
                std::equal(copy.digest.begin(), copy.digest.end(), copy.plainDigest.begin()));
    };
    UnlockedKey key;
    const auto sound = std::find_if(_copies.usable.begin(), _copies.usable.end(), isSound);
    key.copy = sound == _copies.usable.end() ? &_copies.usable.front() : &*sound;
    if (sound != _copies.usable.begin())
        key.warnings.push_back("the digest of a copy of the metadata is wrong");
    return key;
}

Error OpenedVolumeBuilder::unlock(const Secret &secret)
{
    if (needsNoKey()) {
        _key = withoutKey();
        return {};
    }
    Result<UnlockedKey> key = Unlocker(_copies.usable, _stretcher, _cancel).unlock(secret);
    if (!key)
        return key.error();
    _key = std::move(*key);
    return {};
}

Error OpenedVolumeBuilder::checkReadable() const
{
    if (_boot.layout == Layout::Vista && !isInState(*_key.copy, kStateEncrypted))
        return {Status::UnfinishedConversion, "Windows Vista notes no boundary"};
    return needsNoKey() ? Error() : _mapError;
}

std::vector<uint32_t> OpenedVolumeBuilder::sectorSizes() const
{
    if (_boot.sectorSize != 0)
        return {_boot.sectorSize};
    for (const MetadataBlock &copy : _copies.usable)
        if (copy.volumeHeader && copy.volumeHeader->sectorSize != 0)
            return {copy.volumeHeader->sectorSize};
    return {512, 4096, 1024, 2048};
}

uint64_t OpenedVolumeBuilder::volumeSize(uint32_t sectorSize) const
{
    const uint64_t stored = _key.copy->version == 1 ? 0 : _key.copy->encryptedSize;
    const uint64_t size = std::max(_source->size(), stored);
    return size - size % sectorSize;
}

Result<OpenedVolumeBuilder::VolumePointer> OpenedVolumeBuilder::makeVolume(uint32_t sectorSize,
                                                                           bool flipRelocated) const
{
    std::unique_ptr<SectorCipher> cipher;
    if (!_key.sectorKey.empty()) {
        cipher = makeSectorCipher(_key.method, _key.sectorKey.view(), sectorSize);
        if (cipher == nullptr)
            return Error{Status::UnsupportedMethod, methodName(_key.method)};
    }
    VolumeLayout layout(*_key.copy, sectorSize, volumeSize(sectorSize), _map);
    if (flipRelocated)
        layout.flipRelocated();
    return VolumePointer(std::make_shared<DecryptedVolume>(
        _source, std::move(layout), std::move(cipher), patchesFor(*_key.copy)));
}

// Two things may have to be guessed: the sector size if nothing says it, and whether a stopped
// conversion had reached the relocated sectors. The first sector shows whether a guess was
// right; when none is, the first one stands.
Result<OpenedVolume> OpenedVolumeBuilder::build() const
{
    VolumePointer likeliest;
    const bool partly = _key.copy->encryptedSize < _source->size() || _map.has_value();
    const bool mayFlip = partly && _key.copy->relocatedSectors > 0 && !_key.sectorKey.empty();
    for (uint32_t sectorSize : sectorSizes()) {
        for (bool flip : {false, true}) {
            if (flip && !mayFlip)
                continue;
            Result<VolumePointer> volume = makeVolume(sectorSize, flip);
            if (!volume)
                return volume.error();
            if (isPlausible(**volume))
                return OpenedVolume{*volume, facts(**volume, true)};
            if (likeliest == nullptr)
                likeliest = *volume;
        }
    }
    return OpenedVolume{likeliest, facts(*likeliest, false)};
}

VolumeFacts OpenedVolumeBuilder::facts(const DecryptedVolume &volume,
                                       bool looksLikeFileSystem) const
{
    const MetadataBlock &copy = *_key.copy;
    VolumeFacts facts;
    facts.layout = _boot.layout;
    facts.method = _key.method;
    facts.sectorSize = volume.sectorSize();
    facts.encryptedSize = copy.encryptedSize;
    facts.state = copy.state;
    facts.nextState = copy.nextState;
    facts.identifier = copy.volume;
    facts.description = copy.description;
    facts.metadataOffset = copy.offset;
    facts.protectors = protectorKindNames(copy.protectors);
    facts.converting = _boot.converting;
    facts.truncated = volume.size() > _source->size();
    facts.looksLikeFileSystem = looksLikeFileSystem;
    facts.warnings = _copies.warnings;
    facts.warnings.insert(facts.warnings.end(), _key.warnings.begin(), _key.warnings.end());
    return facts;
}

Result<OpenedVolume> OpenedVolumeBuilder::open(const Secret &secret)
{
    if (Error error = readMetadata())
        return error;
    loadMap();
    if (Error error = unlock(secret))
        return error;
    if (Error error = checkReadable())
        return error;
    return build();
}

}  // namespace vx::bitlocker
