# <name>.app/<name> and <name>.app/Resources, as GNUstep looks for them.
function(vx_bundle_gnustep target name main_nib interface_files)
  set(app "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}.app")
  set(resources "${app}/Resources")
  set_target_properties(${target} PROPERTIES OUTPUT_NAME "${name}" RUNTIME_OUTPUT_DIRECTORY "${app}")

  set(VX_EXECUTABLE "${name}")
  set(VX_MAIN_NIB "${main_nib}")
  set(plist "${CMAKE_CURRENT_BINARY_DIR}/${target}-Info-gnustep.plist")
  configure_file("${VX_RESOURCES_DIR}/Info-gnustep.plist.in" "${plist}" @ONLY)

  file(GLOB_RECURSE inputs "${VX_RESOURCES_DIR}/*.png"
       "${VX_RESOURCES_DIR}/*.strings" "${VX_RESOURCES_DIR}/*.plist")
  set(stamp "${CMAKE_CURRENT_BINARY_DIR}/${target}-resources.stamp")
  add_custom_command(OUTPUT "${stamp}"
    COMMAND ${CMAKE_COMMAND} "-DSOURCE=${VX_RESOURCES_DIR}" "-DDESTINATION=${resources}"
            "-DPLIST=${plist}" "-DTHEME=$<TARGET_FILE:file-explorer-theme>"
            "-DINTERFACE_FILES=${interface_files}" "-DLANGUAGES=${VX_LANGUAGES}"
            -P "${VX_RESOURCES_DIR}/CopyResources.cmake"
    COMMAND ${CMAKE_COMMAND} -E touch "${stamp}"
    DEPENDS ${inputs} ${interface_files} "${plist}" "${VX_RESOURCES_DIR}/CopyResources.cmake"
            file-explorer-theme
    COMMENT "Laying out ${name}.app"
    VERBATIM)
  add_custom_target(${target}-resources DEPENDS "${stamp}")
  add_dependencies(${target} ${target}-resources)
endfunction()
