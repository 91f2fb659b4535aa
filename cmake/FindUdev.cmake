# Finds libudev, which comes without a CMake file of its own. Defines Udev::Udev.
find_path(Udev_INCLUDE_DIR libudev.h)
find_library(Udev_LIBRARY udev)
mark_as_advanced(Udev_INCLUDE_DIR Udev_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Udev REQUIRED_VARS Udev_LIBRARY Udev_INCLUDE_DIR)
if(Udev_FOUND AND NOT TARGET Udev::Udev)
  add_library(Udev::Udev UNKNOWN IMPORTED)
  set_target_properties(Udev::Udev PROPERTIES
    IMPORTED_LOCATION "${Udev_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${Udev_INCLUDE_DIR}")
endif()
