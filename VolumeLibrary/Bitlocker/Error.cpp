#include "Error.h"

#include <cstring>

namespace vx::bitlocker {

const char *statusText(Status status)
{
    switch (status) {
    case Status::Ok:
        return "success";
    case Status::NotBitlocker:
        return "not a BitLocker volume";
    case Status::DamagedMetadata:
        return "damaged metadata";
    case Status::DamagedConversionMap:
        return "damaged conversion map";
    case Status::UnfinishedConversion:
        return "unfinished conversion that cannot be read";
    case Status::MalformedSecret:
        return "malformed secret";
    case Status::NoProtectorOfKind:
        return "no protector for this kind of secret";
    case Status::WrongSecret:
        return "wrong secret";
    case Status::UnsupportedProtector:
        return "unsupported protector";
    case Status::UnsupportedMethod:
        return "unsupported encryption method";
    case Status::TruncatedImage:
        return "truncated image";
    case Status::DamagedFileSystem:
        return "damaged file system";
    case Status::SystemError:
        return "system error";
    case Status::Cancelled:
        return "cancelled";
    }
    return "unknown status";
}

std::string describe(const Error &error)
{
    std::string text = statusText(error.status);
    if (!error.detail.empty())
        text += ": " + error.detail;
    return text;
}

Error systemError(int number, const std::string &what)
{
    return {Status::SystemError, what + ": " + std::strerror(number), number};
}

}  // namespace vx::bitlocker
