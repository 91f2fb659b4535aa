# The Debian package, and a second one with its debug symbols: build the target "product" of the preset
# "release", then run cpack -G DEB in its folder, or scripts/package, which does both.
#
# cpack reads PackageVersion.cmake, which takes version and date from the commit, and runs
# CompletePackage.cmake on the installed tree, PackageSize.cmake and PackageSymbols.cmake at the end.
# What the completions for fish name as @kinds@.
file(READ "${CMAKE_SOURCE_DIR}/packaging/completions/unlock-kinds.txt" kinds)
string(STRIP "${kinds}" kinds)
set(completions "${CMAKE_SOURCE_DIR}/packaging/completions")
set(bash "${completions}/volume-explorer.bash")
foreach(program volume-export volume-host volume-host-window volume-info volume-mount)
  if(TARGET ${program})
    install(FILES "${bash}" RENAME ${program}
      DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
    configure_file("${completions}/${program}.fish" "completions/${program}.fish" @ONLY)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/completions/${program}.fish"
      DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")
  endif()
endforeach()
install(FILES "${completions}/_volume-explorer" DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions")

# What is installed, and nothing of the tests.
set(product)
foreach(program file-explorer volume-export volume-host volume-host-window volume-info volume-library
                volume-mount volume-trial)
  if(TARGET ${program})
    list(APPEND product ${program})
  endif()
endforeach()
add_custom_target(product DEPENDS ${product})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME volume-explorer)
set(CPACK_PACKAGE_VENDOR "The volume explorer's authors")
set(CPACK_PACKAGE_CONTACT "The volume explorer's authors <maintainers@volume-explorer.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "read BitLocker-encrypted disks and get files back")
set(CPACK_PACKAGE_DESCRIPTION "Opens disks and disk images that BitLocker encrypted, with a password,
a recovery key, a startup key or a recovery file, and copies files out of
them. A window shows the volume as a tree; programs for the terminal list,
export and mount it, and say what is on a disk. Failing disks are read with
maps of ddrescue.
.
Nothing is ever written to the disk.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The headers are for those who build programs on the library; they are not packaged.
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};${PROJECT_NAME};${CMAKE_INSTALL_DEFAULT_COMPONENT_NAME};/")
set(debian "${CMAKE_SOURCE_DIR}/packaging/debian")
set(CPACK_PROJECT_CONFIG_FILE "${debian}/PackageVersion.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${debian}/CompletePackage.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${debian}/PackageSize.cmake" "${debian}/PackageSymbols.cmake")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# cpack adds scripts that run ldconfig, since there is a library in a folder of lib, but none beside scripts
# of these names. There are no such files, so the package has no scripts: the loader never looks there.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${debian}/postinst" "${debian}/postrm")
# What no program links: GNUstep's drawing and the fonts that it draws with, the order of Hebrew and Arabic
# text, and the program through which users mount.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "gnustep-back0.29-cairo, fonts-dejavu-core, libfribidi0, fuse3")
# Rights to read a disk, the file manager that shows an exported folder, names in Chinese and Japanese.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "acl, fonts-noto-cjk | fonts-wqy-microhei, pkexec, polkitd, xdg-utils")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "bash-completion, gddrescue")

set(CPACK_VX_SOURCE_DIR "${CMAKE_SOURCE_DIR}")
set(CPACK_VX_VERSION "${PROJECT_VERSION}")
include(CPack)
