# vx_find_plain_library(<name> <header> <library>): the body of a find module for a library that comes
# without a CMake file of its own. Defines <name>::<name>. A macro, since find_package reads its variables.
include(FindPackageHandleStandardArgs)

macro(vx_find_plain_library name header library)
  find_path(${name}_INCLUDE_DIR ${header})
  find_library(${name}_LIBRARY ${library})
  mark_as_advanced(${name}_INCLUDE_DIR ${name}_LIBRARY)

  find_package_handle_standard_args(${name} REQUIRED_VARS ${name}_LIBRARY ${name}_INCLUDE_DIR)
  if(${name}_FOUND AND NOT TARGET ${name}::${name})
    add_library(${name}::${name} UNKNOWN IMPORTED)
    set_target_properties(${name}::${name} PROPERTIES
      IMPORTED_LOCATION "${${name}_LIBRARY}"
      INTERFACE_INCLUDE_DIRECTORIES "${${name}_INCLUDE_DIR}")
  endif()
endmacro()
