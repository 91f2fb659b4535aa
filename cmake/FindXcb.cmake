# Finds libxcb. Defines Xcb::Xcb.
include(PlainLibrary)
vx_find_plain_library(Xcb xcb/xcb.h xcb)
