# vx_add_test_suite(<target> SOURCES <source>... [LINUX_SOURCES <source>...] [USES <library>...]
#   [FOLDERS <folder>...] [DEFINES <definition>...] [PROGRAMS <definition>=<target>...] [NEEDS <target>...]
#   [WITH <option of gtest_discover_tests>...] [TIMEOUT <seconds>] [HAS_MAIN])
# A program of tests, each of which is a test of CTest.
#
#   USES      what it links besides GoogleTest; HAS_MAIN: main is among the sources
#   FOLDERS   further folders of headers
#   PROGRAMS  what it starts or loads: the definition is the path, and the target is built first
#   NEEDS     further targets that are built first
#   WITH      e.g. EXTRA_ARGS; further properties of the tests come last: PROPERTIES <name> <value>...
function(vx_add_test_suite name)
  set(lists SOURCES LINUX_SOURCES USES FOLDERS DEFINES PROGRAMS NEEDS WITH)
  cmake_parse_arguments(SUITE "HAS_MAIN" "TIMEOUT" "${lists}" ${ARGN})
  if(SUITE_UNPARSED_ARGUMENTS OR NOT SUITE_SOURCES)
    message(FATAL_ERROR "vx_add_test_suite(${name}): what are ${SUITE_UNPARSED_ARGUMENTS}?")
  endif()
  add_executable(${name} ${SUITE_SOURCES})
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    target_sources(${name} PRIVATE ${SUITE_LINUX_SOURCES})
  endif()
  set(main GTest::gtest_main)
  if(SUITE_HAS_MAIN)
    set(main GTest::gtest)
  endif()
  target_include_directories(${name} PRIVATE ${SUITE_FOLDERS})
  target_compile_definitions(${name} PRIVATE ${SUITE_DEFINES})
  target_link_libraries(${name} PRIVATE ${SUITE_USES} vx_warnings ${main})
  vx_give_programs(${name} ${SUITE_PROGRAMS})
  if(SUITE_NEEDS)
    add_dependencies(${name} ${SUITE_NEEDS})
  endif()
  if(NOT SUITE_TIMEOUT)
    set(SUITE_TIMEOUT 60)
  endif()
  if(NOT PROPERTIES IN_LIST SUITE_WITH)
    list(APPEND SUITE_WITH PROPERTIES)
  endif()
  gtest_discover_tests(${name} ${SUITE_WITH} TIMEOUT ${SUITE_TIMEOUT})
endfunction()

# vx_give_programs(<target> <definition>=<target>...)
function(vx_give_programs name)
  foreach(program IN LISTS ARGN)
    string(REGEX MATCH "^([^=]+)=(.+)$" parts "${program}")
    target_compile_definitions(${name} PRIVATE "${CMAKE_MATCH_1}=\"$<TARGET_FILE:${CMAKE_MATCH_2}>\"")
    add_dependencies(${name} ${CMAKE_MATCH_2})
  endforeach()
endfunction()
