#include "FreeMemory.h"

// Nothing has been measured here that depended on it.
void FillFreeMemory(const std::string &) {}
