# Release builds of one commit are the same files, wherever the source and the build folder are: no path
# of this machine gets into them. Their debug symbols name sources relative to the root folder.
if(APPLE OR VX_SANITIZER OR VX_COVERAGE OR NOT CMAKE_BUILD_TYPE STREQUAL "Release")
  return()
endif()

# The second form of a path is that of a compiler cache which makes paths relative.
file(RELATIVE_PATH up "${CMAKE_BINARY_DIR}" "${CMAKE_SOURCE_DIR}")
string(REGEX REPLACE "/+$" "/" up "${up}/")
add_compile_options(-g -ffile-compilation-dir=.
  "-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=./" "-ffile-prefix-map=${up}=./")
add_link_options(LINKER:--build-id=sha1)

# GCC's Objective-C runtime has a record of each module, with the path of its source as the compiler was
# given it, which no option maps. So it is given a path that leads through a link in the build folder.
set(link "${CMAKE_BINARY_DIR}/source")
file(CREATE_LINK "${CMAKE_SOURCE_DIR}" "${link}" SYMBOLIC)
add_compile_options("$<$<COMPILE_LANGUAGE:OBJCXX>:-ffile-prefix-map=source/=./>")
list(PREPEND CMAKE_OBJCXX_COMPILER_LAUNCHER
  "${CMAKE_SOURCE_DIR}/cmake/compile-through-link" "${CMAKE_SOURCE_DIR}" source)
