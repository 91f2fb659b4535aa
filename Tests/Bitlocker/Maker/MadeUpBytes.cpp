#include "MadeUpBytes.h"

#include "Sha256.h"

#include <algorithm>

namespace vx::bitlocker::maker {

std::vector<uint8_t> MadeUpBytes::Bytes(const std::string &label, size_t count) const
{
    std::vector<uint8_t> result;
    for (unsigned block = 0; result.size() < count; ++block) {
        const std::string text = std::to_string(_seed) + "/" + label + "/" + std::to_string(block);
        const Sha256Digest digest =
            Sha256({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
        result.insert(result.end(), digest.begin(), digest.end());
    }
    result.resize(count);
    return result;
}

Guid MadeUpBytes::GuidOf(const std::string &label) const
{
    Guid guid;
    const std::vector<uint8_t> source = Bytes(label, guid.bytes.size());
    std::copy(source.begin(), source.end(), guid.bytes.begin());
    return guid;
}

std::vector<uint8_t> StartupKeyOf(const Guid &protector)
{
    return MadeUpBytes(0).Bytes("startup key " + protector.Text(), 32);
}

}  // namespace vx::bitlocker::maker
