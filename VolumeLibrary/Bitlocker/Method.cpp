#include "Method.h"

#include <cstdio>

namespace vx::bitlocker {

size_t SectorKeySize(Method method)
{
    switch (method) {
    case Method::kAes128Cbc:
        return 16;
    case Method::kAes256Cbc:
    case Method::kAes128Xts:
        return 32;
    case Method::kAes128Elephant:
    case Method::kAes256Elephant:
    case Method::kAes256Xts:
        return 64;
    case Method::kNone:
        break;
    }
    return 0;
}

std::string MethodName(Method method)
{
    switch (method) {
    case Method::kNone:
        return "none";
    case Method::kAes128Elephant:
        return "AES-128-CBC with Elephant diffuser";
    case Method::kAes256Elephant:
        return "AES-256-CBC with Elephant diffuser";
    case Method::kAes128Cbc:
        return "AES-128-CBC";
    case Method::kAes256Cbc:
        return "AES-256-CBC";
    case Method::kAes128Xts:
        return "AES-128-XTS";
    case Method::kAes256Xts:
        return "AES-256-XTS";
    }
    char text[32];
    std::snprintf(text, sizeof text, "unknown method 0x%04x", static_cast<unsigned>(method));
    return text;
}

}  // namespace vx::bitlocker
