// Which version of libfuse's interface the sources are written for. Included before its headers.
#pragma once

#define FUSE_USE_VERSION 312
