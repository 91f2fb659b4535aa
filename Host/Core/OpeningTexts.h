// The three texts that the volume library opens a volume with. They are borrowed, so that no copy
// of the secret is left anywhere.
#pragma once

namespace vx {

struct OpeningTexts {
    const char *volume;
    const char *kind;
    const char *secret;
};

}  // namespace vx
