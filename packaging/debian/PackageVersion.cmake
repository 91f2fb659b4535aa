# cpack reads this before it makes a package: version and date come from the commit, so that the same
# commit gives the same file. A commit without the tag of its version is later than the version:
# 1.0.0+git20261122.1a2b3c4d5e6f, with ".modified" if files differ from it. In a source archive, which has
# no repository, it is the version alone.
cmake_policy(VERSION 3.21)

function(vx_git variable)
  execute_process(COMMAND git ${ARGN}
    WORKING_DIRECTORY "${CPACK_VX_SOURCE_DIR}"
    OUTPUT_VARIABLE output OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    set(output "")
  endif()
  set(${variable} "${output}" PARENT_SCOPE)
endfunction()

set(CPACK_PACKAGE_VERSION "${CPACK_VX_VERSION}")
set(seconds "")
if(EXISTS "${CPACK_VX_SOURCE_DIR}/.git")
  vx_git(seconds log -1 --format=%ct)
  vx_git(commit log -1 --format=%h --abbrev=12)
  vx_git(tags tag --points-at HEAD)
  vx_git(changes status --porcelain)
  string(REPLACE "\n" ";" tags "${tags}")
endif()
if("$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
  if(seconds STREQUAL "")
    # The date of the latest release, which is the first in the changelog.
    file(STRINGS "${CPACK_VX_SOURCE_DIR}/CHANGELOG.md" heading LIMIT_COUNT 1 REGEX "^## \\[[0-9.]+\\] - ")
    string(REGEX MATCH "[0-9]+-[0-9]+-[0-9]+$" day "${heading}")
    execute_process(COMMAND date -u -d "${day}" +%s
      OUTPUT_VARIABLE seconds OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endif()
  set(ENV{SOURCE_DATE_EPOCH} "${seconds}")
endif()
if(commit AND NOT "v${CPACK_VX_VERSION}" IN_LIST tags)
  string(TIMESTAMP day "%Y%m%d" UTC)
  string(APPEND CPACK_PACKAGE_VERSION "+git${day}.${commit}")
endif()
if(changes)
  string(APPEND CPACK_PACKAGE_VERSION ".modified")
endif()
set(CPACK_DEBIAN_PACKAGE_VERSION "${CPACK_PACKAGE_VERSION}")
