# What a desktop needs to show and start the application "Volume Host": a command, its entry with the types
# of file that it opens, the type that desktops do not know, metadata for software centres, and icons.
# Without the application there is none of it.
if(APPLE OR NOT TARGET volume-host-window)
  return()
endif()

set(desktop "${CMAKE_SOURCE_DIR}/packaging/desktop")
vx_install_command(volume-host-window VolumeHost.app/VolumeHost)
install(FILES "${desktop}/volume-host-window.desktop" DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
install(FILES "${desktop}/volume-explorer.xml" DESTINATION "${CMAKE_INSTALL_DATADIR}/mime/packages")
install(FILES "${CMAKE_SOURCE_DIR}/docs/man/volume-host-window.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")

# The releases are those of the changelog.
file(STRINGS "${CMAKE_SOURCE_DIR}/CHANGELOG.md" releases REGEX "^## \\[[0-9.]+\\] - [0-9-]+$")
list(TRANSFORM releases REPLACE "^## \\[([0-9.]+)\\] - ([0-9-]+)$" "<release version=\"\\1\" date=\"\\2\"/>")
list(JOIN releases "\n    " VX_RELEASES)
set(metainfo "org.example.volume_explorer.metainfo.xml")
configure_file("${desktop}/${metainfo}.in" "${CMAKE_BINARY_DIR}/packaging/${metainfo}" @ONLY)
install(FILES "${CMAKE_BINARY_DIR}/packaging/${metainfo}" DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")

set(icons "${CMAKE_INSTALL_DATADIR}/icons/hicolor")
foreach(size 16 24 32 48 64 128 256)
  install(FILES "${CMAKE_SOURCE_DIR}/packaging/icons/volume-explorer-${size}.png"
    DESTINATION "${icons}/${size}x${size}/apps" RENAME volume-explorer.png)
endforeach()
install(FILES "${CMAKE_SOURCE_DIR}/Host/App/Resources/Images/VolumeHost.svg"
  DESTINATION "${icons}/scalable/apps" RENAME volume-explorer.svg)
