// Emoji and the rarer scripts, whose characters lie beyond the first 65,536: the library cuts their
// numbers off when it lays out, measures and draws them, which leaves a question mark.
#pragma once

namespace vx {

// From now on such characters are drawn in the text's font. Main thread, once, when the
// application object exists.
void installSupplementaryGlyphs();

}  // namespace vx
