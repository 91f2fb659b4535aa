# Finds libzstd, which has a CMake file of its own on some systems only. Defines Zstd::Zstd.
include(PlainLibrary)
vx_find_plain_library(Zstd zstd.h zstd)
