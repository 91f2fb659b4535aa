# Run as a script while building: fills the Resources folder of a GNUstep bundle.
# SHARED and OWN (the folders with what every application has, and what this one has), DESTINATION, PLIST, THEME (the theme's code), INTERFACE_FILES, LANGUAGES.
file(MAKE_DIRECTORY "${DESTINATION}")
configure_file("${PLIST}" "${DESTINATION}/Info-gnustep.plist" COPYONLY)

file(GLOB images "${SHARED}/Images/*.png" "${OWN}/Images/*.png")
foreach(file IN LISTS images INTERFACE_FILES)
  file(COPY "${file}" DESTINATION "${DESTINATION}")
endforeach()

set(theme "${DESTINATION}/FileExplorer.theme")
file(COPY "${THEME}" DESTINATION "${theme}")
file(COPY "${SHARED}/Theme/Info-gnustep.plist" DESTINATION "${theme}/Resources")
file(COPY "${SHARED}/Theme/ThemeImages" DESTINATION "${theme}/Resources" FILES_MATCHING PATTERN "*.png")
# The folder panel shows folders and files with the program's own icons.
foreach(name folder file-generic file-program)
  file(COPY "${SHARED}/Images/${name}.png" DESTINATION "${theme}/Resources/ThemeImages")
endforeach()

# GNUstep takes a strings table for Unicode only when it begins with a byte-order mark.
string(ASCII 239 187 191 mark)
foreach(language IN LISTS LANGUAGES)
  foreach(source "${OWN}/${language}.lproj/Localizable.strings" "${SHARED}/${language}.lproj/Panel.strings")
    get_filename_component(name "${source}" NAME)
    file(READ "${source}" table)
    file(WRITE "${DESTINATION}/${language}.lproj/${name}" "${mark}${table}")
  endforeach()
endforeach()
