# <name>.app/<name> and <name>.app/Resources, as GNUstep looks for them. Called by vx_bundle, with its
# arguments.
function(vx_bundle_gnustep target)
  set(app "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${bundle_NAME}.app")
  set(resources "${app}/Resources")
  set_target_properties(${target} PROPERTIES OUTPUT_NAME "${bundle_NAME}" RUNTIME_OUTPUT_DIRECTORY "${app}")

  set(plist "${CMAKE_CURRENT_BINARY_DIR}/${target}-Info-gnustep.plist")
  configure_file("${VX_RESOURCES_DIR}/Info-gnustep.plist.in" "${plist}" @ONLY)

  file(GLOB_RECURSE inputs "${VX_RESOURCES_DIR}/*.png" "${VX_RESOURCES_DIR}/*.plist"
       "${VX_RESOURCES_DIR}/*/Panel.strings"
       "${bundle_RESOURCES}/*.png" "${bundle_RESOURCES}/*.strings")
  list(REMOVE_DUPLICATES inputs)
  set(stamp "${CMAKE_CURRENT_BINARY_DIR}/${target}-resources.stamp")
  add_custom_command(OUTPUT "${stamp}"
    COMMAND ${CMAKE_COMMAND} "-DSHARED=${VX_RESOURCES_DIR}" "-DOWN=${bundle_RESOURCES}"
            "-DDESTINATION=${resources}"
            "-DPLIST=${plist}" "-DTHEME=$<TARGET_FILE:file-explorer-theme>"
            "-DINTERFACE_FILES=${bundle_INTERFACE_FILES}" "-DLANGUAGES=${VX_LANGUAGES}"
            -P "${VX_RESOURCES_DIR}/CopyResources.cmake"
    COMMAND ${CMAKE_COMMAND} -E touch "${stamp}"
    DEPENDS ${inputs} ${bundle_INTERFACE_FILES} "${plist}" "${VX_RESOURCES_DIR}/CopyResources.cmake"
            file-explorer-theme
    COMMENT "Laying out ${bundle_NAME}.app"
    VERBATIM)
  add_custom_target(${target}-resources DEPENDS "${stamp}")
  add_dependencies(${target} ${target}-resources)
endfunction()
