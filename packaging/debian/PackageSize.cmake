# cpack runs this when the package is made: it puts the size that installed-size counts into the control
# file. That of cpack contains what links lead to, and the sizes of folders, which depend on the file system
# of the build.
cmake_policy(VERSION 3.21)
set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}-sized")

foreach(made IN LISTS CPACK_PACKAGE_FILES)
  file(REMOVE_RECURSE "${root}")
  execute_process(COMMAND dpkg-deb --raw-extract "${made}" "${root}" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/installed-size" "${root}"
    OUTPUT_VARIABLE size OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  file(READ "${root}/DEBIAN/control" control)
  string(REGEX REPLACE "\nInstalled-Size: [0-9]+\n" "\nInstalled-Size: ${size}\n" control "${control}")
  file(WRITE "${root}/DEBIAN/control" "${control}")
  execute_process(COMMAND dpkg-deb --build --root-owner-group -Zxz "${root}" "${made}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
