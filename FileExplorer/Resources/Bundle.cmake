# Lays the application's resources out around its executable.
#
#   vx_bundle(<target> [NAME <name>] [MAIN_NIB <name>] [INTERFACE_FILES <xib>...])
#
# On Linux the result is ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/<name>.app with the executable beside Resources/; on macOS the
# target becomes a regular bundle, its interface files compiled and its icon made. NAME is "FileExplorer"
# when it is left out; MAIN_NIB is the interface file that the application loads at start.
set(VX_RESOURCES_DIR "${CMAKE_CURRENT_LIST_DIR}")
set(VX_LANGUAGES en de fr es ja zh-Hans)

include("${VX_RESOURCES_DIR}/BundleGNUstep.cmake")
include("${VX_RESOURCES_DIR}/BundleApple.cmake")

function(vx_bundle target)
  cmake_parse_arguments(PARSE_ARGV 1 bundle "" "NAME;MAIN_NIB" "INTERFACE_FILES")
  if(NOT bundle_NAME)
    set(bundle_NAME FileExplorer)
  endif()
  if(APPLE)
    vx_bundle_apple(${target} "${bundle_NAME}" "${bundle_MAIN_NIB}" "${bundle_INTERFACE_FILES}")
  else()
    vx_bundle_gnustep(${target} "${bundle_NAME}" "${bundle_MAIN_NIB}" "${bundle_INTERFACE_FILES}")
  endif()
endfunction()
