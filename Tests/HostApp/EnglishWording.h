// Words as they stand in the sources, for tests of classes that know no language.
#pragma once

#include "NumberText.h"
#include "Wording.h"

inline vx::Wording EnglishWording()
{
    return {[](const std::string &key) { return key; },
            [](uint64_t bytes) { return vx::SizeText(static_cast<int64_t>(bytes)); }};
}
