# vx_install_program(<target>) installs the program beside the volume library, and a link to it in the
# folder of commands.
function(vx_install_program target)
  install(TARGETS ${target} RUNTIME DESTINATION "${VX_INSTALL_DIR}")
  file(RELATIVE_PATH from_bin "/${CMAKE_INSTALL_BINDIR}" "/${VX_INSTALL_DIR}/${target}")
  set(link "${CMAKE_CURRENT_BINARY_DIR}/link/${target}")
  file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/link")
  file(CREATE_LINK "${from_bin}" "${link}" SYMBOLIC)
  install(FILES "${link}" DESTINATION "${CMAKE_INSTALL_BINDIR}")
endfunction()
