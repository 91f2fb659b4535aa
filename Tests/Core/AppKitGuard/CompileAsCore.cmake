# Compiles a snippet with the very command that compiles a source of the core, and checks what
# comes of it. Run with cmake -P and these set:
#   DATABASE     compile_commands.json
#   CORE_SOURCE  the core's source whose command is taken
#   SNIPPET      the source to compile instead
#   EXPECT       a text that the compiler's errors must hold; empty if it must compile
cmake_minimum_required(VERSION 3.21)

file(READ "${DATABASE}" database)
string(JSON count LENGTH "${database}")
math(EXPR last "${count} - 1")
foreach(index RANGE ${last})
  string(JSON source GET "${database}" ${index} file)
  if(source STREQUAL CORE_SOURCE)
    string(JSON text GET "${database}" ${index} command)
  endif()
endforeach()
if(NOT DEFINED text)
  message(FATAL_ERROR "${DATABASE} does not compile ${CORE_SOURCE}")
endif()

separate_arguments(command UNIX_COMMAND "${text}")
list(FIND command "-o" output)
if(output EQUAL -1)
  message(FATAL_ERROR "no output in: ${text}")
endif()
list(REMOVE_AT command ${output})
list(REMOVE_AT command ${output})
list(TRANSFORM command REPLACE "^.*/Z5FindData\\.mm$" "${SNIPPET}")
list(APPEND command -fsyntax-only)

execute_process(COMMAND ${command} RESULT_VARIABLE result ERROR_VARIABLE errors)
if(EXPECT STREQUAL "")
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${SNIPPET} does not compile:\n${errors}")
  endif()
elseif(result EQUAL 0)
  message(FATAL_ERROR "${SNIPPET} compiles")
elseif(NOT errors MATCHES "${EXPECT}")
  message(FATAL_ERROR "${SNIPPET} fails, but not because of \"${EXPECT}\":\n${errors}")
endif()
