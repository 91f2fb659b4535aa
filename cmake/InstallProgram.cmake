# vx_install_command(<command> <program>) makes an installed program, named relative to the folder of the
# programs, a command: a link to it in the folder of commands; on macOS, where a program that is started
# through a link looks for its library beside the link, a script that executes it.
function(vx_install_command name program)
  file(RELATIVE_PATH VX_PROGRAM "/${CMAKE_INSTALL_BINDIR}" "/${VX_INSTALL_DIR}/${program}")
  set(command "${CMAKE_CURRENT_BINARY_DIR}/command/${name}")
  file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/command")
  if(APPLE)
    configure_file("${CMAKE_SOURCE_DIR}/cmake/program-wrapper.in" "${command}" @ONLY)
    install(PROGRAMS "${command}" DESTINATION "${CMAKE_INSTALL_BINDIR}")
  else()
    file(CREATE_LINK "${VX_PROGRAM}" "${command}" SYMBOLIC)
    install(FILES "${command}" DESTINATION "${CMAKE_INSTALL_BINDIR}")
  endif()
endfunction()

# vx_install_program(<target>) installs the program beside the volume library, as a command.
function(vx_install_program target)
  install(TARGETS ${target} RUNTIME DESTINATION "${VX_INSTALL_DIR}")
  vx_install_command(${target} ${target})
endfunction()
