#include "VolumeOpener.h"

#include "CoreDumps.h"
#include "FirstSector.h"
#include "KeyProof.h"
#include "MetadataRemains.h"

#include <algorithm>

namespace vx::bitlocker {

namespace {

constexpr uint16_t kStateEncrypted = 4;
constexpr uint16_t kStateDecrypted = 1;
constexpr uint64_t kMirrorClusterAt = 56;

constexpr char kRefutedKey[] =
    "what the key of the sectors gives is not what the file system has there: it is not the key of "
    "this volume, or the file system is damaged; the volume has: ";
constexpr char kUnprovenKey[] =
    "nothing that could be read shows that the key of the sectors is the one of this volume; if it "
    "is another one, everything that was decrypted with it is wrong";

bool IsInState(const MetadataBlock &copy, uint16_t state)
{
    return copy.state == state && copy.nextState == state;
}

std::vector<DecryptedVolume::Patch> PatchesFor(const MetadataBlock &copy)
{
    if (copy.version != 1)
        return {};
    DecryptedVolume::Patch name = {3, {'N', 'T', 'F', 'S', ' ', ' ', ' ', ' '}};
    DecryptedVolume::Patch mirror = {kMirrorClusterAt, {}};
    for (size_t i = 0; i < mirror.bytes.size(); ++i)
        mirror.bytes[i] = static_cast<uint8_t>(copy.mirrorCluster >> (8 * i));
    return {name, mirror};
}

bool IsNamed(ByteView sector)
{
    return HasName(sector, kNtfsName) || HasName(sector, kExfatName) ||
           HasName(sector, kRefsName) || HasName(sector, kFatName);
}

// Whether the first sector could be that of a file system with sectors of this size. Its soundness
// is checked by the layer above.
bool IsPlausible(const DecryptedVolume &volume)
{
    uint8_t bytes[kFirstSectorBytes];
    if (volume.ReadAt(0, bytes, sizeof bytes))
        return false;
    const ByteView sector(bytes, sizeof bytes);
    const uint32_t stated = StatedSectorSize(sector);
    return (IsNamed(sector) || EndsAsBootSector(sector)) &&
           (stated == 0 || stated == volume.SectorSize());
}

}  // namespace

bool VolumeOpener::Recognises(ByteView firstSector)
{
    const Result<BootSector> boot = BootSector::Parse(firstSector);
    return boot || boot.Failure().status != Status::kNotBitlocker;
}

std::string VolumeOpener::Describe(const ByteSource &source)
{
    const Result<BootSector> boot = BootSector::Read(source);
    if (!boot)
        return {};
    for (const uint64_t offset : boot->metadataOffsets) {
        if (offset >= source.Size())
            continue;
        std::vector<uint8_t> area(static_cast<size_t>(
            std::min<uint64_t>(MetadataBlock::kAreaSize, source.Size() - offset)));
        if (source.ReadAt(offset, area.data(), area.size()))
            continue;
        if (const Result<MetadataBlock> block = MetadataBlock::Parse(area, offset))
            return block->description;
    }
    return {};
}

VolumeOpener::VolumeOpener(std::shared_ptr<const ByteSource> source, const CancelFlag *cancel,
                           KeyStretcher stretcher, ProgressReceiver progress)
    : _source(std::move(source)), _cancel(cancel), _stretcher(stretcher), _progress(progress)
{
}

Result<UnlockedVolume> VolumeOpener::Open(const Secret &secret)
{
    ForbidCoreDumps();
    if (Error error = ReadMetadata())
        return secret.SectorKey() == nullptr ? error : OpenRemains(*secret.SectorKey(), error);
    LoadMap();
    if (Error error = Unlock(secret))
        return error;
    if (Error error = CheckReadable())
        return error;
    Result<UnlockedVolume> opened = Build();
    if (opened && _keepsRecoveryPasswords && !_key.masterKey.Empty())
        opened->recoveryPasswords =
            std::make_shared<const RecoveryPasswords>(_key.copy->protectors, _key.masterKey.View());
    if (opened && _keepsMasterKey && !_key.masterKey.Empty())
        opened->masterKey = std::make_shared<const KeyMaterial>(std::move(_key.masterKey));
    return opened;
}

Error VolumeOpener::ReadMetadata()
{
    const Result<BootSector> boot = BootSector::Read(*_source);
    if (!boot)
        return boot.Failure();
    _boot = *boot;
    Result<MetadataCopies> copies = MetadataLocator(*_source, _boot, _cancel).Locate();
    if (!copies)
        return copies.Failure();
    _copies = std::move(*copies);
    return {};
}

// The key of the sectors needs nothing of the metadata but where the parts of the volume are. What
// is left of it, or a guess, is believed only if it gives a file system.
Result<UnlockedVolume> VolumeOpener::OpenRemains(const GivenSectorKey &key, const Error &failure)
{
    if (failure.status != Status::kDamagedMetadata && failure.status != Status::kSystemError)
        return failure;
    _copies.usable = MetadataRemains(*_source, _boot);
    if (_copies.usable.empty())
        return failure;
    LoadMap();
    for (const MetadataBlock &block : _copies.usable) {
        std::vector<Method> methods = key.PossibleMethods();
        const auto isStored = [&](Method method) {
            return method == static_cast<Method>(block.method);
        };
        std::stable_partition(methods.begin(), methods.end(), isStored);
        for (const Method method : methods) {
            Result<UnlockedVolume> opened = BuildProven(block, method, key);
            if (opened && opened->facts.isKeyProven)
                return opened;
        }
    }
    return Error{failure.status,
                 failure.detail + (failure.detail.empty() ? "" : "; ") +
                     "with what is left of it the key gives no file system",
                 failure.systemError};
}

Result<UnlockedVolume> VolumeOpener::BuildProven(const MetadataBlock &block, Method method,
                                                 const GivenSectorKey &key)
{
    Result<KeyMaterial> sectorKey = key.KeyFor(method);
    if (!sectorKey)
        return sectorKey.Failure();
    _key = UnlockedKey();
    _key.by = UnlockedBy::kSectorKey;
    _key.copy = &block;
    _key.method = method;
    _key.sectorKey = std::move(*sectorKey);
    _key.warnings = {
        "no copy of the encryption metadata can be used: where the parts of the volume "
        "are was guessed, and some of what is read may be wrong"};
    if (Error error = CheckReadable())
        return error;
    return Build();
}

void VolumeOpener::LoadMap()
{
    if (!_boot.converting)
        return;
    Result<ConversionMap> map =
        ConversionMap::Load(*_source, _boot.conversionOffsets, SectorSizes().front());
    if (map)
        _map = std::move(*map);
    else
        _mapError = map.Failure();
}

Error VolumeOpener::Unlock(const Secret &secret)
{
    if (NeedsNoKey()) {
        _key = WithoutKey();
        return {};
    }
    Result<UnlockedKey> key =
        Unlocker(_copies.usable, _stretcher, _cancel, _progress).Unlock(secret);
    if (!key)
        return key.Failure();
    _key = std::move(*key);
    return {};
}

bool VolumeOpener::NeedsNoKey() const
{
    const MetadataBlock &copy = _copies.usable.front();
    if (copy.version == 1)
        return false;
    if (_map)
        return _map->IsAllPlain();
    return copy.encryptedSize == 0 && (!_boot.converting || IsInState(copy, kStateDecrypted));
}

// The first copy whose digest is right, or cannot be checked without a key.
UnlockedKey VolumeOpener::WithoutKey() const
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

Error VolumeOpener::CheckReadable() const
{
    if (_unlocksOnly && !_key.masterKey.Empty())
        return {};
    if (_boot.layout == Layout::kVista && !IsInState(*_key.copy, kStateEncrypted))
        return {Status::kUnfinishedConversion, "Windows Vista notes no boundary"};
    return NeedsNoKey() ? Error() : _mapError;
}

// Two things may have to be guessed: the sector size if it is not recorded, and whether a stopped
// conversion had reached the relocated sectors. The first sector shows whether a guess was right,
// or else its backup; when neither does, the first guess stands.
Result<UnlockedVolume> VolumeOpener::Build() const
{
    VolumePointer likeliest;
    bool hasBackup = false;
    const bool partly = _key.copy->encryptedSize < _source->Size() || _map.has_value();
    const bool mayFlip = partly && _key.copy->relocatedSectors > 0 && !_key.sectorKey.Empty();
    for (uint32_t sectorSize : SectorSizes()) {
        for (bool flip : {false, true}) {
            if (flip && !mayFlip)
                continue;
            Result<VolumePointer> volume = MakeVolume(sectorSize, flip);
            if (!volume)
                return volume.Failure();
            if (IsPlausible(**volume))
                return Finish(*volume, true);
            const bool isBackedUp = !hasBackup && HasBackup(**volume);
            if (likeliest == nullptr || isBackedUp)
                likeliest = *volume;
            hasBackup = hasBackup || isBackedUp;
        }
    }
    return Finish(likeliest, false);
}

// Part of a volume may be plain, and look right with any key.
Result<UnlockedVolume> VolumeOpener::Finish(const VolumePointer &volume,
                                            bool looksLikeFileSystem) const
{
    UnlockedVolume unlocked = {volume, Facts(*volume, looksLikeFileSystem)};
    if (_key.by != UnlockedBy::kSectorKey)
        return unlocked;
    const KeyProof proof = ProofOfKey(*volume);
    if (proof == KeyProof::kRefuted)
        return Error{Status::kWrongSecret, kRefutedKey + unlocked.facts.protectors};
    unlocked.facts.isKeyProven = proof == KeyProof::kProven;
    if (!unlocked.facts.isKeyProven)
        unlocked.facts.warnings.emplace_back(kUnprovenKey);
    return unlocked;
}

std::vector<uint32_t> VolumeOpener::SectorSizes() const
{
    const uint32_t recorded = RecordedSectorSize(_boot, _copies.usable);
    if (recorded != 0)
        return {recorded};
    return {512, 4096, 1024, 2048};
}

Result<VolumeOpener::VolumePointer> VolumeOpener::MakeVolume(uint32_t sectorSize,
                                                             bool flipRelocated) const
{
    std::unique_ptr<SectorCipher> cipher;
    if (!_key.sectorKey.Empty()) {
        cipher = MakeSectorCipher(_key.method, _key.sectorKey.View(), sectorSize);
        if (cipher == nullptr)
            return Error{Status::kUnsupportedMethod, MethodName(_key.method)};
    }
    VolumeLayout layout(*_key.copy, sectorSize, VolumeSize(sectorSize), _map);
    if (flipRelocated)
        layout.FlipRelocated();
    return VolumePointer(std::make_shared<DecryptedVolume>(
        _source, std::move(layout), std::move(cipher), PatchesFor(*_key.copy)));
}

uint64_t VolumeOpener::VolumeSize(uint32_t sectorSize) const
{
    const uint64_t stored = _key.copy->version == 1 ? 0 : _key.copy->encryptedSize;
    const uint64_t size = std::max(_source->Size(), stored);
    return size - size % sectorSize;
}

VolumeFacts VolumeOpener::Facts(const DecryptedVolume &volume, bool looksLikeFileSystem) const
{
    const MetadataBlock &copy = *_key.copy;
    VolumeFacts facts;
    facts.layout = _boot.layout;
    facts.method = _key.method;
    facts.sectorSize = volume.SectorSize();
    facts.encryptedSize = copy.encryptedSize;
    facts.state = copy.state;
    facts.nextState = copy.nextState;
    facts.identifier = copy.volume;
    facts.description = copy.description;
    facts.metadataOffset = copy.offset;
    facts.protectors = ProtectorList(copy.protectors);
    facts.unlockedBy = _key.by;
    facts.protectorKind = _key.protectorKind;
    facts.protectorIdentifier = _key.protectorIdentifier;
    facts.converting = _boot.converting;
    facts.truncated = volume.Size() > _source->Size();
    facts.looksLikeFileSystem = looksLikeFileSystem;
    facts.warnings = _copies.warnings;
    facts.warnings.insert(facts.warnings.end(), _key.warnings.begin(), _key.warnings.end());
    return facts;
}

}  // namespace vx::bitlocker
