// Upper and lower case of letters of every script, whatever the user's locale is.
#pragma once

namespace vx {

// The same for all letters that differ in case only: the small letter of the capital, since some
// small letters share one. As it is if the system knows no locale with all scripts. Threads: any.
char32_t CaselessOf(char32_t character);

}  // namespace vx
