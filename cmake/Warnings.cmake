# Every target of ours is built with these. VX_WERROR makes a warning an error; it is off by default,
# so that a newer compiler with warnings of its own still builds the program.
option(VX_WERROR "Treat warnings as errors" OFF)

add_library(vx_warnings INTERFACE)
target_compile_options(vx_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
  -Wunused -Wnull-dereference -Wthread-safety $<$<BOOL:${VX_WERROR}>:-Werror>)
