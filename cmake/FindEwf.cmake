# The library that reads E01 images.
# Gives EWF_FOUND and the target Ewf::Ewf.
find_path(EWF_INCLUDE_DIR libewf.h)
find_library(EWF_LIBRARY ewf)
mark_as_advanced(EWF_INCLUDE_DIR EWF_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Ewf
  REQUIRED_VARS EWF_LIBRARY EWF_INCLUDE_DIR
  NAME_MISMATCHED)
set(EWF_FOUND ${Ewf_FOUND})

if(Ewf_FOUND AND NOT TARGET Ewf::Ewf)
  add_library(Ewf::Ewf UNKNOWN IMPORTED)
  set_target_properties(Ewf::Ewf PROPERTIES
    IMPORTED_LOCATION "${EWF_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${EWF_INCLUDE_DIR}")
endif()
