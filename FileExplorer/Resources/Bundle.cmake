# Lays an application's resources out around its executable.
#
#   vx_bundle(<target> [NAME <name>] [TITLE <title>] [DESCRIPTION <text>] [ICON <name>]
#             [RESOURCES <folder>] [DOCUMENTS] [MAIN_NIB <name>] [INTERFACE_FILES <xib>...])
#
# On Linux the result is ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/<name>.app with the executable beside Resources/; on macOS the
# target becomes a regular bundle, its interface files compiled and its icon made. What is left out is the
# explorer's. RESOURCES has the application's own Images and <language>.lproj; theme and images of this
# folder belong to every application. DOCUMENTS: it opens files. MAIN_NIB is the interface file that it loads at start.
#
#   vx_install_app(<target> <name>)
#
# installs it beside the volume library and the other programs, which look for each other there.
set(VX_RESOURCES_DIR "${CMAKE_CURRENT_LIST_DIR}")
set(VX_LANGUAGES en de fr es ja zh-Hans)

include("${VX_RESOURCES_DIR}/BundleGNUstep.cmake")
include("${VX_RESOURCES_DIR}/BundleApple.cmake")

macro(vx_bundle_default name value)
  if(NOT bundle_${name})
    set(bundle_${name} "${value}")
  endif()
endmacro()

function(vx_bundle target)
  cmake_parse_arguments(PARSE_ARGV 1 bundle "DOCUMENTS"
    "NAME;TITLE;DESCRIPTION;ICON;RESOURCES;MAIN_NIB" "INTERFACE_FILES")
  vx_bundle_default(NAME FileExplorer)
  vx_bundle_default(TITLE "File Explorer")
  vx_bundle_default(DESCRIPTION
    "Shows the files of an unlocked volume and copies them to this computer. Nothing on the volume is changed.")
  vx_bundle_default(ICON FileExplorer)
  vx_bundle_default(RESOURCES "${VX_RESOURCES_DIR}")
  # For the property lists.
  set(VX_EXECUTABLE "${bundle_NAME}")
  set(VX_MAIN_NIB "${bundle_MAIN_NIB}")
  set(VX_TITLE "${bundle_TITLE}")
  set(VX_DESCRIPTION "${bundle_DESCRIPTION}")
  set(VX_ICON "${bundle_ICON}")
  set(VX_DOCUMENT_TYPES "")
  if(bundle_DOCUMENTS)
    file(READ "${VX_RESOURCES_DIR}/DocumentTypes.plist.in" VX_DOCUMENT_TYPES)
  endif()
  if(APPLE)
    vx_bundle_apple(${target})
  else()
    vx_bundle_gnustep(${target})
  endif()
endfunction()

function(vx_install_app target name)
  if(APPLE)
    install(TARGETS ${target} BUNDLE DESTINATION "${VX_INSTALL_DIR}")
    return()
  endif()
  install(TARGETS ${target} RUNTIME DESTINATION "${VX_INSTALL_DIR}/${name}.app")
  install(DIRECTORY "${VX_RUNTIME_DIR}/${name}.app/Resources" DESTINATION "${VX_INSTALL_DIR}/${name}.app")
endfunction()
