# VX_SANITIZER is a list for -fsanitize, empty for none.
set(VX_SANITIZER "" CACHE STRING "Sanitizers to build with, e.g. address,undefined or thread")

if(VX_SANITIZER)
  add_compile_options(-fsanitize=${VX_SANITIZER} -fno-omit-frame-pointer -fno-sanitize-recover=all
    -O1 -gline-tables-only)
  add_link_options(-fsanitize=${VX_SANITIZER})
endif()

if(VX_SANITIZER MATCHES "address|thread")
  add_library(sanitizer-defaults OBJECT "${CMAKE_CURRENT_LIST_DIR}/SanitizerDefaults.cpp")
  link_libraries("$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:sanitizer-defaults>")
endif()

# VX_COVERAGE counts which lines and branches run; scripts/report-coverage reads the counts.
option(VX_COVERAGE "Build with coverage counters" OFF)

if(VX_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()
