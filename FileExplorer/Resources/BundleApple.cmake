# A regular bundle: Contents/MacOS, Contents/Resources, Info.plist, compiled interface files.
function(vx_bundle_apple target name main_nib interface_files)
  set(VX_EXECUTABLE "${name}")
  set(VX_MAIN_NIB "${main_nib}")
  set(plist "${CMAKE_CURRENT_BINARY_DIR}/${target}-Info.plist")
  configure_file("${VX_RESOURCES_DIR}/Info.plist.in" "${plist}" @ONLY)

  # Not every generator makes the folder of what a command puts out.
  set(made "${CMAKE_CURRENT_BINARY_DIR}/${target}")
  file(MAKE_DIRECTORY "${made}")

  set(icon "${made}/FileExplorer.icns")
  set(iconset "${VX_RESOURCES_DIR}/Images/FileExplorer.iconset")
  file(GLOB icon_sizes "${iconset}/*.png")
  add_custom_command(OUTPUT "${icon}"
    COMMAND iconutil --convert icns --output "${icon}" "${iconset}"
    DEPENDS ${icon_sizes}
    VERBATIM)
  file(GLOB images "${VX_RESOURCES_DIR}/Images/*.png")
  set(resources ${images} "${icon}")

  foreach(xib IN LISTS interface_files)
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
    set(strings "${VX_RESOURCES_DIR}/${language}.lproj/Localizable.strings")
    set_source_files_properties("${strings}" PROPERTIES MACOSX_PACKAGE_LOCATION "Resources/${language}.lproj")
    list(APPEND resources "${strings}")
  endforeach()

  target_sources(${target} PRIVATE ${resources})
  set_target_properties(${target} PROPERTIES MACOSX_BUNDLE TRUE OUTPUT_NAME "${name}"
                        MACOSX_BUNDLE_INFO_PLIST "${plist}")
endfunction()
