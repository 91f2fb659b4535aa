// GNUstep's headers look for the blocks runtime under this name; Debian ships it as Block.h.
#include <Block.h>
