# vx_install_program(<target>) installs the program beside the volume library, and makes it a command:
# a link to it in the folder of commands; on macOS, where a program that is started through a link looks
# for its library beside the link, a script that executes it.
function(vx_install_program target)
  install(TARGETS ${target} RUNTIME DESTINATION "${VX_INSTALL_DIR}")
  file(RELATIVE_PATH VX_PROGRAM "/${CMAKE_INSTALL_BINDIR}" "/${VX_INSTALL_DIR}/${target}")
  set(command "${CMAKE_CURRENT_BINARY_DIR}/command/${target}")
  file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/command")
  if(APPLE)
    configure_file("${CMAKE_SOURCE_DIR}/cmake/program-wrapper.in" "${command}" @ONLY)
    install(PROGRAMS "${command}" DESTINATION "${CMAKE_INSTALL_BINDIR}")
  else()
    file(CREATE_LINK "${VX_PROGRAM}" "${command}" SYMBOLIC)
    install(FILES "${command}" DESTINATION "${CMAKE_INSTALL_BINDIR}")
  endif()
endfunction()
