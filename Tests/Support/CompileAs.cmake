# Compiles a snippet with the very command that compiles a source of the program, and checks what
# comes of it. Run with cmake -P and these set:
#   DATABASE  compile_commands.json
#   SOURCE    the source whose command is taken
#   SNIPPET   the source to compile instead
#   EXPECT    a text that the compiler's errors must hold; empty if it must compile
cmake_minimum_required(VERSION 3.21)

# The file is large and has a line for each member, so the one that is wanted is read alone.
string(REGEX REPLACE "([][+.*()^$?|\\\\])" "\\\\\\1" pattern "${SOURCE}")
file(STRINGS "${DATABASE}" lines REGEX "^ *\"command\": .* -c ${pattern}\",?$")
list(LENGTH lines count)
if(count EQUAL 0)
  message(FATAL_ERROR "${DATABASE} does not compile ${SOURCE}")
endif()
list(GET lines 0 line)
string(REGEX REPLACE ",$" "" line "${line}")
string(JSON text GET "{${line}}" command)

separate_arguments(command UNIX_COMMAND "${text}")
list(FIND command "-o" output)
if(output EQUAL -1)
  message(FATAL_ERROR "no output in: ${text}")
endif()
list(REMOVE_AT command ${output})
list(REMOVE_AT command ${output})
list(FIND command "${SOURCE}" place)
if(place EQUAL -1)
  message(FATAL_ERROR "no source in: ${text}")
endif()
list(REMOVE_AT command ${place})
list(INSERT command ${place} "${SNIPPET}")
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
