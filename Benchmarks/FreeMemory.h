// Memory that was unused for a while may have gone back to the host of a virtual machine; the next
// to fill the page cache then pays for fetching it, many times the price of a copy.
#pragma once

#include <string>

// Fills the free memory with cached pages of a file of holes, as on a machine that has been in use
// for some time: what runs next takes its memory from those. The file takes no room on the disk; it
// stays in the folder, since its pages would go with it. Does nothing where the system does not say
// how much memory is free, or does not cache holes.
void FillFreeMemory(const std::string &folder);
