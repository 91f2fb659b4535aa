// Characters that a text's font lacks are drawn in a font that has them. The library asks
// fontconfig for one, gets its family's name in the user's language, and looks for a font of that
// name. Where a font has another name than its family ("WenQuanYiMicroHei" is of "WenQuanYi
// Micro Hei", and of "文泉驿微米黑" to a Chinese user) it finds none, and every such character
// becomes a question mark. Characters beyond the first 65,536, emoji among them, it does not look
// up at all.
#pragma once

namespace vx {

// From now on the library gets the font's own name, and rarer characters get a font, too. Main
// thread, once.
void installSubstituteFonts();

}  // namespace vx
