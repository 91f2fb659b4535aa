#include "Method.h"

#include <cstdio>

namespace vx::bitlocker {

size_t sectorKeySize(Method method)
{
    switch (method) {
    case Method::Aes128Cbc:
        return 16;
    case Method::Aes256Cbc:
    case Method::Aes128Xts:
        return 32;
    case Method::Aes128Elephant:
    case Method::Aes256Elephant:
    case Method::Aes256Xts:
        return 64;
    case Method::None:
        break;
    }
    return 0;
}

std::string methodName(Method method)
{
    switch (method) {
    case Method::None:
        return "none";
    case Method::Aes128Elephant:
        return "AES-128-CBC with Elephant diffuser";
    case Method::Aes256Elephant:
        return "AES-256-CBC with Elephant diffuser";
    case Method::Aes128Cbc:
        return "AES-128-CBC";
    case Method::Aes256Cbc:
        return "AES-256-CBC";
    case Method::Aes128Xts:
        return "AES-128-XTS";
    case Method::Aes256Xts:
        return "AES-256-XTS";
    }
    char text[32];
    std::snprintf(text, sizeof text, "unknown method 0x%04x", static_cast<unsigned>(method));
    return text;
}

}  // namespace vx::bitlocker
