#include "OpeningFailure.h"

#include "KnownContents.h"
#include "LostVolumes.h"

#include <string_view>

namespace vx {
namespace {

constexpr std::string_view kUnlocked = "it was unlocked, but ";
constexpr const char *kNothingUnlocked =
    "it was unlocked, but there is no NTFS, FAT or exFAT in it";

std::string WithoutUnlocked(const std::string &detail)
{
    const bool saysSo = detail.compare(0, kUnlocked.size(), kUnlocked) == 0;
    return saysSo ? detail.substr(kUnlocked.size()) : detail;
}

}  // namespace

Error NothingThatOpens(const ByteSource &source, bool wasEncrypted)
{
    const KnownContents *known = KnownContents::Find(source);
    const Status unknown =
        wasEncrypted ? Status::kDamagedFileSystem : Status::kUnsupportedFileSystem;
    if (known == nullptr)
        return {unknown, wasEncrypted ? kNothingUnlocked : kNothingKnown};
    const std::string sentence = (wasEncrypted ? std::string(kUnlocked) : "") + known->Sentence();
    switch (known->form) {
    case KnownContents::Form::kContainer:
        return {Status::kUnsupportedContainer, sentence};
    case KnownContents::Form::kVolume:
        return {Status::kUnsupportedFileSystem, sentence};
    case KnownContents::Form::kBlank:
        break;
    }
    return {unknown, sentence};
}

std::string WithSearchHint(const std::string &sentence)
{
    return sentence + "; if an encrypted volume was there, " + kSearchAdvice;
}

Error WithDoubt(Error error, const std::string &protectors)
{
    const bool isAboutContents = error.status == Status::kDamagedFileSystem ||
                                 error.status == Status::kUnsupportedFileSystem ||
                                 error.status == Status::kUnsupportedContainer;
    if (protectors.empty())
        return error;
    if (error.status == Status::kSystemError || error.status == Status::kTruncatedImage)
        error.detail = WithoutUnlocked(error.detail) +
                       "; nothing that could be read shows that the key of the sectors is the one "
                       "of this volume; the volume has: " +
                       protectors;
    if (!isAboutContents)
        return error;
    return {Status::kWrongSecret,
            "what the key of the sectors gives is no file system that can be read: it is not the "
            "key of this volume, or the file system is damaged; the volume has: " +
                protectors};
}

Error WithReadFailure(Error error, const NotingSource &volume, bool isCut)
{
    Error failure = volume.Failure();
    const bool explains = failure.status == Status::kSystemError ||
                          (failure.status == Status::kTruncatedImage && isCut);
    if (error.status != Status::kDamagedFileSystem || !explains)
        return error;
    failure.detail = error.detail + ": " + failure.detail;
    return failure;
}

}  // namespace vx
