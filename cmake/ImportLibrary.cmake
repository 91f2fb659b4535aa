# What a Find module for one library with one header does.
include(FindPackageHandleStandardArgs)

# Gives the target name::name, and name_FOUND with the name as it is and in capitals.
macro(vx_import_library name header library)
  string(TOUPPER ${name} vx_prefix)
  find_path(${vx_prefix}_INCLUDE_DIR ${header})
  find_library(${vx_prefix}_LIBRARY ${library})
  mark_as_advanced(${vx_prefix}_INCLUDE_DIR ${vx_prefix}_LIBRARY)
  find_package_handle_standard_args(${name}
    REQUIRED_VARS ${vx_prefix}_LIBRARY ${vx_prefix}_INCLUDE_DIR
    NAME_MISMATCHED)
  set(${vx_prefix}_FOUND ${${name}_FOUND})
  if(${name}_FOUND AND NOT TARGET ${name}::${name})
    add_library(${name}::${name} UNKNOWN IMPORTED)
    set_target_properties(${name}::${name} PROPERTIES
      IMPORTED_LOCATION "${${vx_prefix}_LIBRARY}"
      INTERFACE_INCLUDE_DIRECTORIES "${${vx_prefix}_INCLUDE_DIR}")
  endif()
endmacro()
