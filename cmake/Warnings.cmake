# Every target is built with these warnings. VX_WERROR turns them into errors; it is off by default, so
# that a newer compiler with more warnings still builds the programs.
option(VX_WERROR "Treat warnings as errors" OFF)

add_library(vx_warnings INTERFACE)
target_compile_options(vx_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
  -Wunused -Wnull-dereference -Wthread-safety $<$<BOOL:${VX_WERROR}>:-Werror>)
