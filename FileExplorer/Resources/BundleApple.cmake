# A regular bundle: Contents/MacOS, Contents/Resources, Info.plist, compiled interface files. Called by
# vx_bundle, with its arguments.
function(vx_bundle_apple target)
  set(plist "${CMAKE_CURRENT_BINARY_DIR}/${target}-Info.plist")
  configure_file("${VX_RESOURCES_DIR}/Info.plist.in" "${plist}" @ONLY)

  # Not every generator makes the folder of what a command puts out.
  set(made "${CMAKE_CURRENT_BINARY_DIR}/${target}")
  file(MAKE_DIRECTORY "${made}")

  set(icon "${made}/${bundle_ICON}.icns")
  set(iconset "${bundle_RESOURCES}/Images/${bundle_ICON}.iconset")
  file(GLOB icon_sizes "${iconset}/*.png")
  add_custom_command(OUTPUT "${icon}"
    COMMAND iconutil --convert icns --output "${icon}" "${iconset}"
    DEPENDS ${icon_sizes}
    VERBATIM)
  file(GLOB images "${VX_RESOURCES_DIR}/Images/*.png" "${bundle_RESOURCES}/Images/*.png")
  list(REMOVE_DUPLICATES images)
  set(resources ${images} "${icon}")

  foreach(xib IN LISTS bundle_INTERFACE_FILES)
    get_filename_component(base "${xib}" NAME_WE)
    set(nib "${made}/${base}.nib")
    add_custom_command(OUTPUT "${nib}"
      COMMAND ibtool --minimum-deployment-target "${CMAKE_OSX_DEPLOYMENT_TARGET}" --compile "${nib}" "${xib}"
      DEPENDS "${xib}"
      VERBATIM)
    list(APPEND resources "${nib}")
  endforeach()

  set_source_files_properties(${resources} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
  foreach(language IN LISTS VX_LANGUAGES)
    set(strings "${bundle_RESOURCES}/${language}.lproj/Localizable.strings")
    set_source_files_properties("${strings}" PROPERTIES MACOSX_PACKAGE_LOCATION "Resources/${language}.lproj")
    list(APPEND resources "${strings}")
  endforeach()

  target_sources(${target} PRIVATE ${resources})
  set_target_properties(${target} PROPERTIES MACOSX_BUNDLE TRUE OUTPUT_NAME "${bundle_NAME}"
                        MACOSX_BUNDLE_INFO_PLIST "${plist}")
endfunction()
