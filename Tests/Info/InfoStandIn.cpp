// A volume library with made-up disks, for the tests of volume-info. The end of the device's path
// says which disk it is.
#include "DiskReport.h"
#include "VolumeLibraryStatus.h"
#include "VolumeOpeningOptions.h"
#include "VolumeReport.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <string>
#include <unistd.h>

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

constexpr uint64_t kMiB = uint64_t{1} << 20;
constexpr uint64_t kGiB = uint64_t{1} << 30;
constexpr uint64_t kSeptember = 132459588001234567;  // 2020-09-30 17:00:00.1234567 UTC

constexpr char kPasswordId[] = "1A2B3C4D-1111-2222-3333-444455556666";
constexpr char kRecoveryId[] = "5E6F7A8B-1111-2222-3333-444455556666";
constexpr char kTpmId[] = "99AABBCC-1111-2222-3333-444455556666";

const DiskProtectorReport kProtectors[] = {
    {"password", "password", 0x2000, kPasswordId, kSeptember, "password"},
    {"recovery-password", "recovery password", 0x800, kRecoveryId, kSeptember,
     "recovery recovery-file key-ring"},
    {"tpm-and-pin", "TPM and PIN", 0x500, kTpmId, 0, ""},
};

const DiskMetadataReport kCopies[] = {
    {32 * kMiB, ""}, {16 * kGiB, "its checksum is wrong"}, {24 * kGiB, ""}};

const DiskEncryptionReport kEncryption = {"windows-7",
                                          "AES-128-XTS",
                                          "encrypting",
                                          15 * kGiB,
                                          "ABCDEF01-1111-2222-3333-444455556666",
                                          "LAPTOP C: 9/30/2020",
                                          kSeptember,
                                          512,
                                          false,
                                          kProtectors,
                                          std::size(kProtectors),
                                          kCopies,
                                          std::size(kCopies)};

const DiskVolumeReport kSystemVolumes[] = {
    {1, kMiB, 100 * kMiB, "fat", "FAT32", "", "SYSTEM", "EFI system partition",
     "EFI system partition", nullptr},
    {0, 101 * kMiB, 16 * kMiB, "other", "nothing known", "", "", "", "Microsoft reserved partition",
     nullptr},
    {2, 117 * kMiB, 40 * kGiB, "encrypted", "encrypted", "", "", "Basic data partition",
     "Basic data partition", &kEncryption},
    {0, 41 * kGiB, kGiB, "other", "a LUKS volume", "open it with cryptsetup", "", "", "Linux data",
     nullptr},
};
const char *const kSystemWarnings[] = {"a copy of the metadata is damaged"};
const DiskReport kSystemDisk = {"vhdx",
                                "a dynamic VHDX image",
                                60 * kGiB,
                                512,
                                "gpt",
                                kSystemVolumes,
                                std::size(kSystemVolumes),
                                kSystemWarnings,
                                std::size(kSystemWarnings)};

const DiskMetadataReport kGoodCopies[] = {{kMiB, ""}, {2 * kMiB, ""}, {3 * kMiB, ""}};
const DiskProtectorReport kClearKey[] = {{"clear-key", "clear key", 0, kTpmId, kSeptember, "none"},
                                         kProtectors[1]};
const DiskEncryptionReport kSuspended = {"to-go",
                                         "AES-128-CBC",
                                         "encrypted",
                                         64 * kMiB,
                                         "",
                                         "",
                                         0,
                                         0,
                                         true,
                                         kClearKey,
                                         std::size(kClearKey),
                                         kGoodCopies,
                                         std::size(kGoodCopies)};
const DiskVolumeReport kStickVolume = {1,  0,  64 * kMiB, "encrypted", "encrypted",
                                       "", "", "",        "",          &kSuspended};
const DiskReport kStick = {"raw", "a raw image", 64 * kMiB, 0, "", &kStickVolume, 1, nullptr, 0};

const DiskProtectorReport kOnlyTpm[] = {kProtectors[2]};
const DiskEncryptionReport kTpmEncryption = {
    "windows-7", "AES-256-XTS", "encrypted",           64 * kMiB, "", "", 0, 512, false, kOnlyTpm,
    1,           kGoodCopies,   std::size(kGoodCopies)};
const DiskVolumeReport kTpmVolume = {1,  0,  64 * kMiB, "encrypted", "encrypted",
                                     "", "", "",        "",          &kTpmEncryption};
const DiskReport kTpmDisk = {"raw", "a raw image", 64 * kMiB, 512, "", &kTpmVolume, 1, nullptr, 0};

// Texts that drive a terminal, numbers that no disk has.
constexpr char kEvil[] = "\x1b[2J\u009b2J\u202etxt\nNo. 7\"\\";
const DiskEncryptionReport kEvilEncryption = {
    "vista", kEvil,   kEvil, ~uint64_t{0}, kEvil, kEvil, ~uint64_t{0}, ~uint32_t{0},
    false,   nullptr, 0,     nullptr,      0};
const DiskVolumeReport kEvilVolumes[] = {
    {~uint32_t{0}, ~uint64_t{0}, ~uint64_t{0}, "other", kEvil, kEvil, kEvil, kEvil, kEvil,
     &kEvilEncryption},
    {1, 0, 0, "encrypted", "encrypted", "", "", "", "", &kEvilEncryption}};
const char *const kEvilWarnings[] = {kEvil};
const DiskReport kEvilDisk = {
    "raw", kEvil, ~uint64_t{0}, ~uint32_t{0}, "gpt", kEvilVolumes, 2, kEvilWarnings, 1};

const DiskReport kEmptyDisk = {"raw", "a raw image", 0, 0, "", nullptr, 0, nullptr, 0};

const DiskVolumeReport kTwoVolumes[] = {
    {1, kMiB, kGiB, "encrypted", "encrypted", "", "", "", "", &kTpmEncryption},
    {2, 2 * kGiB, 40 * kGiB, "encrypted", "encrypted", "", "", "", "", &kEncryption}};
const DiskReport kTwoDisk = {"raw", "a raw image", 60 * kGiB, 512, "mbr", kTwoVolumes,
                             2,     nullptr,       0};

const DiskVolumeReport kUnknownVolume = {0,  0,  kMiB, "other", "nothing that is recognised",
                                         "", "", "",   "",      nullptr};
const DiskReport kUnknownDisk = {"raw", "a raw image", kMiB, 0, "", &kUnknownVolume, 1, nullptr, 0};

struct NamedDisk {
    const char *name;
    const DiskReport *report;
};
const NamedDisk kDisks[] = {{"system disk", &kSystemDisk},
                            {"system disk#2", &kSystemDisk},
                            {"stick", &kStick},
                            {"tpm", &kTpmDisk},
                            {"evil", &kEvilDisk},
                            {"empty", &kEmptyDisk},
                            {"unknown disk", &kUnknownDisk},
                            {"two volumes", &kTwoDisk},
                            {"@1048576", &kTpmDisk}};

bool EndsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

class NoVolume final : public IVolume {
public:
    VolumeHandle FindFirstFile(const char16_t *, VolumeFindData *) override { return nullptr; }
    bool FindNextFile(VolumeHandle, VolumeFindData *) override { return false; }
    bool FindClose(VolumeHandle) override { return false; }
    VolumeHandle OpenFile(const char16_t *, uint32_t, uint32_t, uint32_t) override
    {
        return nullptr;
    }
    bool ReadFile(VolumeHandle, void *, uint32_t, uint32_t *) override { return false; }
    bool WriteFile(VolumeHandle, const void *, uint32_t, uint32_t *) override { return false; }
    bool SetFilePosition(VolumeHandle, uint32_t *, uint32_t *, uint32_t) override { return false; }
    bool QueryFileSize(VolumeHandle, uint32_t *, uint32_t *) override { return false; }
    bool CloseHandle(VolumeHandle) override { return false; }
};

NoVolume g_volume;
std::string g_kind;
std::string g_detail;
bool g_isUnlockedOnly = false;
VolumeOpeningOptions g_options;
std::atomic<bool> g_isCancelled{false};

int32_t Status(VolumeLibraryStatus status)
{
    return static_cast<int32_t>(status);
}

bool IsSecretRight(const std::string &kind, const std::string &secret)
{
    return (kind == "password" && secret == "s3cret w\u00f6rd") ||
           (kind == "fvek" && secret == "00ff") || (kind == "none" && secret.empty());
}

// Until it is cancelled, or for a minute.
void AwaitCancelling()
{
    for (int i = 0; i < 60000 && !g_isCancelled; ++i)
        usleep(1000);
}

void Report(uint64_t done, uint64_t total)
{
    if (g_options.progress != nullptr)
        g_options.progress(g_options.progressContext, VolumeOpeningStep::kSearching, done, total,
                           0);
}

void GiveFindings(DiskFindingFunction finding, void *context)
{
    const uint64_t copies[] = {35 * kMiB, 50 * kMiB};
    const DiskFinding first = {kMiB,
                               40 * kGiB,
                               false,
                               false,
                               "@1048576",
                               "AES-128-XTS",
                               "ABCDEF01-1111-2222-3333-444455556666",
                               "LAPTOP C: \x1b[2J",
                               copies,
                               std::size(copies)};
    const DiskFinding second = {50 * kGiB, 0, true, true, "#2", "AES-256-CBC", "", "", copies, 1};
    finding(context, &first);
    finding(context, &second);
}

}  // namespace

EXPORTED int32_t open_bitlocker_device(const char *device, const char *kind, const char *secret,
                                       IVolume **volume)
{
    *volume = nullptr;
    g_kind = kind;
    g_isUnlockedOnly = g_options.unlocksOnly != 0;
    g_detail.clear();
    if (g_kind == "stall") {
        if (g_options.progress != nullptr)
            g_options.progress(g_options.progressContext, VolumeOpeningStep::kTryingSecrets, 0, 400,
                               32);
        close(open((std::string(secret) + "/opening").c_str(), O_WRONLY | O_CLOEXEC));
        AwaitCancelling();
        return Status(VolumeLibraryStatus::kCancelled);
    }
    if (!IsSecretRight(kind, secret)) {
        g_detail = "it was tried on the password 1A2B3C4D";
        return Status(VolumeLibraryStatus::kWrongSecret);
    }
    if (EndsWith(device, "tpm") && g_options.unlocksOnly == 0)
        return Status(VolumeLibraryStatus::kFileSystemDamaged);
    *volume = &g_volume;
    return 0;
}

EXPORTED const char *volume_library_last_error()
{
    return g_detail.c_str();
}

EXPORTED bool volume_library_set_opening_options(const VolumeOpeningOptions *options)
{
    g_options = options == nullptr ? VolumeOpeningOptions() : *options;
    return true;
}

EXPORTED void volume_library_cancel_opening()
{
    g_isCancelled = true;
}

EXPORTED int32_t volume_library_describe_disk(const char *device, const DiskReport **report)
{
    *report = nullptr;
    g_detail.clear();
    const auto found =
        std::find_if(std::begin(kDisks), std::end(kDisks),
                     [&](const NamedDisk &disk) { return EndsWith(device, disk.name); });
    if (found == std::end(kDisks))
        return Status(VolumeLibraryStatus::kNotFound);
    *report = found->report;
    return 0;
}

EXPORTED void volume_library_release_disk_report(const DiskReport *)
{
    if (const char *file = getenv("VX_RELEASED"))
        close(open(file, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

EXPORTED int32_t volume_library_search_disk(const char *device, DiskFindingFunction finding,
                                            void *context, DiskSearchGaps *gaps)
{
    g_detail.clear();
    if (EndsWith(device, "nothing"))
        return Status(VolumeLibraryStatus::kNotFound);
    Report(0, 60 * kGiB);
    if (EndsWith(device, "endless")) {
        fprintf(stderr, "searching\n");
        AwaitCancelling();
    } else if (EndsWith(device, "deaf")) {
        fprintf(stderr, "searching\n");
        for (;;)
            pause();
    }
    Report(30 * kGiB, 60 * kGiB);
    if (!EndsWith(device, "empty"))
        GiveFindings(finding, context);
    *gaps = {EndsWith(device, "failing") ? 1536u : 0u, EndsWith(device, "crowded") ? 2710u : 0u};
    if (EndsWith(device, "worn"))
        g_detail = "the table of the image is damaged";
    return g_isCancelled ? Status(VolumeLibraryStatus::kCancelled) : 0;
}

EXPORTED bool volume_library_describe_file_system(IVolume *, VolumeFileSystemReport *report)
{
    if (g_isUnlockedOnly)
        return false;
    report->state = VolumeFileSystemState::kInUse;
    snprintf(report->name, sizeof(report->name), "NTFS 3.1");
    snprintf(report->label, sizeof(report->label), "Data\x1b[2J");
    snprintf(report->serial, sizeof(report->serial), "1A2B-3C4D");
    report->totalBytes = 40 * kGiB;
    report->freeBytes = 12 * kGiB;
    report->clusterBytes = 4096;
    return true;
}

EXPORTED bool volume_library_describe_unlocking(IVolume *, VolumeUnlockingReport *report)
{
    if (g_kind == "none")
        return false;
    snprintf(report->kind, sizeof(report->kind), "%s", g_kind.c_str());
    if (g_kind == "password")
        snprintf(report->identifier, sizeof(report->identifier), "%s", kPasswordId);
    snprintf(report->method, sizeof(report->method), "AES-128-XTS");
    return true;
}

EXPORTED bool volume_library_visit_recovery_passwords(IVolume *,
                                                      VolumeRecoveryPasswordFunction password,
                                                      void *context)
{
    if (g_kind == "fvek")
        return false;
    char text[] = "111111-222222-333333-444444-555555-666666-111111-222222";
    password(context, kRecoveryId, text);
    memset(text, '0', sizeof(text) - 1);
    return true;
}
