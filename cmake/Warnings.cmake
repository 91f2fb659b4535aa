# Every target of ours is built with these; a warning is an error.
add_library(vx_warnings INTERFACE)
target_compile_options(vx_warnings INTERFACE
  -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough
  -Wunused -Wnull-dereference -Wthread-safety -Werror)
