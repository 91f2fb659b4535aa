# The Sleuth Kit's library, of which the formats of disk images are used.
# Gives TSK_FOUND and the target Tsk::Tsk.
find_path(TSK_INCLUDE_DIR tsk/libtsk.h)
find_library(TSK_LIBRARY tsk)
mark_as_advanced(TSK_INCLUDE_DIR TSK_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Tsk
  REQUIRED_VARS TSK_LIBRARY TSK_INCLUDE_DIR
  NAME_MISMATCHED)
set(TSK_FOUND ${Tsk_FOUND})

if(Tsk_FOUND AND NOT TARGET Tsk::Tsk)
  add_library(Tsk::Tsk UNKNOWN IMPORTED)
  set_target_properties(Tsk::Tsk PROPERTIES
    IMPORTED_LOCATION "${TSK_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${TSK_INCLUDE_DIR}")
endif()
