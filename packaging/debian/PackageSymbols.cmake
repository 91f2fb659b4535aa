# cpack runs this when the package is made: it makes a second one beside it, of the symbols for debuggers,
# which CompletePackage.cmake has moved out of the programs.
cmake_policy(VERSION 3.21)
set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}-symbols")
set(name "${CPACK_PACKAGE_NAME}-dbgsym")
set(doc "${root}/usr/share/doc")

file(GLOB_RECURSE files RELATIVE "${root}/usr/lib/debug/.build-id" "${root}/usr/lib/debug/*.debug")
list(SORT files)
list(TRANSFORM files REPLACE "/|\\.debug$" "")
list(JOIN files " " ids)
file(MAKE_DIRECTORY "${doc}" "${root}/DEBIAN")
file(CREATE_LINK "${CPACK_PACKAGE_NAME}" "${doc}/${name}" SYMBOLIC)
execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/installed-size" "${root}"
  OUTPUT_VARIABLE size OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

foreach(made IN LISTS CPACK_PACKAGE_FILES)
  get_filename_component(file "${made}" NAME)
  string(REGEX REPLACE "^.*_([a-z0-9]+)\\.deb$" "\\1" architecture "${file}")
  file(WRITE "${root}/DEBIAN/control" "Package: ${name}
Version: ${CPACK_PACKAGE_VERSION}
Architecture: ${architecture}
Maintainer: ${CPACK_PACKAGE_CONTACT}
Installed-Size: ${size}
Depends: ${CPACK_PACKAGE_NAME} (= ${CPACK_PACKAGE_VERSION})
Section: debug
Priority: optional
Auto-Built-Package: debug-symbols
Build-Ids: ${ids}
Description: debug symbols for ${CPACK_PACKAGE_NAME}
")
  execute_process(COMMAND sh -c "find usr -type f -print0 | LC_ALL=C sort -z | xargs -0 md5sum >DEBIAN/md5sums"
    WORKING_DIRECTORY "${root}" COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND chmod -R u=rwX,go=rX "${root}" COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX REPLACE "^${CPACK_PACKAGE_NAME}_" "${name}_" file "${file}")
  execute_process(COMMAND dpkg-deb --build --root-owner-group -Zxz "${root}" "${CPACK_PACKAGE_DIRECTORY}/${file}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
