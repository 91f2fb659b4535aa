# Two interface targets for the platform's frameworks: vx_foundation and vx_appkit. On macOS they are
# the system's, elsewhere GNUstep's with the shims of Platform/GNUstep.
add_library(vx_foundation INTERFACE)
add_library(vx_appkit INTERFACE)
target_link_libraries(vx_appkit INTERFACE vx_foundation)
target_compile_options(vx_foundation INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:-fblocks>)

# Here, so that every folder knows the target.
find_package(Threads REQUIRED)

if(APPLE)
  target_link_libraries(vx_foundation INTERFACE "-framework Foundation" "-framework CoreFoundation")
  target_link_libraries(vx_appkit INTERFACE "-framework AppKit" "-framework CoreGraphics")
  # The alerts, sheets and constants that GNUstep has as well are deprecated here, not removed.
  target_compile_options(vx_appkit INTERFACE
    $<$<COMPILE_LANGUAGE:OBJCXX>:-Wno-deprecated-declarations>)
  return()
endif()

find_path(VX_GNUSTEP_INCLUDE_DIR Foundation/Foundation.h PATH_SUFFIXES GNUstep)
find_library(VX_GNUSTEP_BASE gnustep-base)
find_library(VX_GNUSTEP_GUI gnustep-gui)
find_library(VX_BLOCKS_RUNTIME BlocksRuntime)

# The runtime's headers and library are in GCC's folder; the newest version first.
file(GLOB VX_GCC_DIRS LIST_DIRECTORIES true "/usr/lib/gcc/${CMAKE_SYSTEM_PROCESSOR}-linux-gnu/*")
list(SORT VX_GCC_DIRS COMPARE NATURAL ORDER DESCENDING)
find_path(VX_OBJC_INCLUDE_DIR objc/objc.h PATHS ${VX_GCC_DIRS} PATH_SUFFIXES include NO_DEFAULT_PATH)
find_library(VX_OBJC objc PATHS ${VX_GCC_DIRS})

foreach(found VX_GNUSTEP_INCLUDE_DIR VX_GNUSTEP_BASE VX_GNUSTEP_GUI VX_BLOCKS_RUNTIME
              VX_OBJC_INCLUDE_DIR VX_OBJC)
  if(NOT ${found})
    message(FATAL_ERROR "GNUstep is incomplete (${found}); see docs/building.md for the packages.")
  endif()
endforeach()

target_compile_options(vx_foundation INTERFACE
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-runtime=gcc>
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fexceptions>
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-exceptions>
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fconstant-string-class=NSConstantString>
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fno-strict-aliasing>
  # After clang's own folder, so that GCC's intrinsics headers do not shadow clang's.
  "$<$<COMPILE_LANGUAGE:OBJCXX>:SHELL:-idirafter \"${VX_OBJC_INCLUDE_DIR}\">")
target_compile_definitions(vx_foundation INTERFACE
  $<$<COMPILE_LANGUAGE:OBJCXX>:GNUSTEP>
  $<$<COMPILE_LANGUAGE:OBJCXX>:GNUSTEP_BASE_LIBRARY=1>
  $<$<COMPILE_LANGUAGE:OBJCXX>:GNU_GUI_LIBRARY=1>
  $<$<COMPILE_LANGUAGE:OBJCXX>:GNU_RUNTIME=1>
  $<$<COMPILE_LANGUAGE:OBJCXX>:_NATIVE_OBJC_EXCEPTIONS>)
target_include_directories(vx_foundation SYSTEM INTERFACE
  "${CMAKE_SOURCE_DIR}/Platform/GNUstep" "${VX_GNUSTEP_INCLUDE_DIR}")
# The blocks runtime comes first: the _Block_copy of gnustep-base leaves clang's blocks on the stack.
target_link_libraries(vx_foundation INTERFACE
  ${VX_BLOCKS_RUNTIME} ${VX_GNUSTEP_BASE} ${VX_OBJC} Threads::Threads)
target_link_libraries(vx_appkit INTERFACE ${VX_GNUSTEP_GUI})
if(VX_SANITIZER)
  set(VX_IS_PROGRAM "$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>")
  target_sources(vx_foundation INTERFACE
    "$<${VX_IS_PROGRAM}:${CMAKE_SOURCE_DIR}/Platform/GNUstep/SanitizerSuppressions.cpp>")
endif()
