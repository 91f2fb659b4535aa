# cpack runs this on the installed tree before it packs it: what Debian asks of every package. The manual
# pages are compressed, the changelog and the copyright are added. The symbols for debuggers are moved to a
# tree of their own, for PackageSymbols.cmake.
cmake_policy(VERSION 3.21)
set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}")
set(share "${root}/usr/share")
set(doc "${share}/doc/${CPACK_PACKAGE_NAME}")
set(packaging "${CPACK_VX_SOURCE_DIR}/packaging/debian")

function(vx_compress)
  execute_process(COMMAND gzip -9n ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(MAKE_DIRECTORY "${doc}")
execute_process(
  COMMAND "${packaging}/debian-changelog" "${CPACK_VX_SOURCE_DIR}/CHANGELOG.md"
    "${CPACK_PACKAGE_NAME}" "${CPACK_PACKAGE_VERSION}" "${CPACK_PACKAGE_CONTACT}"
  OUTPUT_FILE "${doc}/changelog" COMMAND_ERROR_IS_FATAL ANY)
vx_compress("${doc}/changelog")

# The license as the form for copyright asks for it: indented, a dot in the place of an empty line.
file(STRINGS "${CPACK_VX_SOURCE_DIR}/LICENSE" lines)
set(VX_LICENSE "")
foreach(line IN LISTS lines)
  if(line MATCHES "^Copyright \\(c\\) (.*)")
    set(VX_COPYRIGHT "${CMAKE_MATCH_1}")
  elseif(VX_COPYRIGHT)
    string(APPEND VX_LICENSE " ${line}\n")
  endif()
endforeach()
string(REGEX REPLACE "^( \n)+" "" VX_LICENSE "${VX_LICENSE}")
string(REGEX REPLACE "(^|\n) (\n|$)" "\\1 .\\2" VX_LICENSE "${VX_LICENSE}")
configure_file("${packaging}/copyright.in" "${doc}/copyright" @ONLY)

file(GLOB pages "${share}/man/man1/*.1")
vx_compress(${pages})

# vx_split(<file>): a debugger finds the symbols by the build ID.
function(vx_split file)
  execute_process(COMMAND readelf -n "${file}" OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
  if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
    message(FATAL_ERROR "${file} has no build ID")
  endif()
  set(symbols "${root}-symbols/usr/lib/debug/.build-id/${CMAKE_MATCH_1}")
  file(MAKE_DIRECTORY "${symbols}")
  set(symbols "${symbols}/${CMAKE_MATCH_2}.debug")
  execute_process(
    COMMAND objcopy --only-keep-debug --compress-debug-sections "${file}" "${symbols}"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(
    COMMAND objcopy --strip-unneeded --remove-section=.comment "--add-gnu-debuglink=${symbols}" "${file}"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND chmod 644 "${symbols}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE "${root}-symbols")
file(GLOB_RECURSE files LIST_DIRECTORIES false "${root}/usr/lib/*")
foreach(file IN LISTS files)
  if(NOT IS_SYMLINK "${file}")
    file(READ "${file}" begin LIMIT 4 HEX)
    if(begin STREQUAL "7f454c46")
      vx_split("${file}")
    endif()
  endif()
endforeach()

# Whatever the umask was.
execute_process(COMMAND chmod -R u=rwX,go=rX "${root}" "${root}-symbols" COMMAND_ERROR_IS_FATAL ANY)
