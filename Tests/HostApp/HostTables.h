// The texts of Volume Host in a language, from the sources.
#pragma once

#include "HostTexts.h"

#include <fstream>
#include <iterator>
#include <string>

namespace vxtest {

inline std::string Contents(const std::string &path)
{
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline NSDictionary *HostTable(const std::string &language)
{
    const std::string path = VX_HOST_RESOURCES "/" + language + ".lproj/Localizable.strings";
    return [vx::TextOf(Contents(path)) propertyListFromStringsFileFormat];
}

}  // namespace vxtest
