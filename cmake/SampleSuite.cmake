# vx_add_sample_suite(<target> TEST <name> SOURCES <source>... [WITH_KEYS] [USES <library>...]
#   [FOLDERS <folder>...] [PROGRAMS <definition>=<target>...] [TIMEOUT <seconds>])
# Tests on the images of the samples: one test of CTest and so one process, so that the images are
# unpacked once. It is skipped, never passed, where they are missing.
#
#   WITH_KEYS  the suite opens them with the keys that belong to them
#   PROGRAMS   see TestSuite.cmake
function(vx_add_sample_suite name)
  cmake_parse_arguments(SUITE "WITH_KEYS" "TEST;TIMEOUT" "SOURCES;USES;FOLDERS;PROGRAMS" ${ARGN})
  if(SUITE_UNPARSED_ARGUMENTS OR NOT SUITE_SOURCES OR NOT SUITE_TEST)
    message(FATAL_ERROR "vx_add_sample_suite(${name}): what are ${SUITE_UNPARSED_ARGUMENTS}?")
  endif()
  set(encrypted_volumes "${CMAKE_SOURCE_DIR}/Tests/Bitlocker")
  add_executable(${name} ${SUITE_SOURCES}
    "${encrypted_volumes}/SampleImages.cpp" "${encrypted_volumes}/SampleTestMain.cpp")
  target_include_directories(${name} PRIVATE "${encrypted_volumes}" ${SUITE_FOLDERS})
  if(SUITE_WITH_KEYS)
    target_sources(${name} PRIVATE
      "${CMAKE_SOURCE_DIR}/Tests/Entry/SampleKeys.cpp" "${encrypted_volumes}/KeyTexts.cpp")
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/Tests/Entry")
  endif()
  target_compile_definitions(${name} PRIVATE VX_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE ${SUITE_USES} vx_warnings GTest::gtest)
  vx_give_programs(${name} ${SUITE_PROGRAMS})
  add_test(NAME ${SUITE_TEST} COMMAND ${name})
  set_tests_properties(${SUITE_TEST} PROPERTIES SKIP_RETURN_CODE 77)
  if(SUITE_TIMEOUT)
    set_tests_properties(${SUITE_TEST} PROPERTIES TIMEOUT ${SUITE_TIMEOUT})
  endif()
endfunction()
