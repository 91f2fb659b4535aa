# What every program and library is compiled and linked with, so that a defect that a hostile disk finds is
# harder to use. Builds with sanitizers do without: they replace the same functions and find more.
#
# No mark for control-flow enforcement (-fcf-protection): the linker drops it, since the start files of
# the C library do not have it.
if(VX_SANITIZER)
  return()
endif()

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX OBJCXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_compile_options(-fstack-protector-strong)
# The checked functions need optimisation. A compiler may define the macro itself.
add_compile_options("$<$<NOT:$<CONFIG:Debug>>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>")

if(NOT APPLE)
  add_compile_options(-fstack-clash-protection)
  # Every address is bound at start, and the table of addresses is read-only from then on.
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()
