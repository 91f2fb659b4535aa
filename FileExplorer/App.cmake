# The application: its classes, which the tests link as well, and the program in its bundle.
include("${CMAKE_CURRENT_LIST_DIR}/Resources/Bundle.cmake")

# An object library: the interface files name classes that no code refers to.
add_library(explorer-app OBJECT
  FileExplorer/AppDelegate.mm
  FileExplorer/CopyingFileWindow.mm
  FileExplorer/ImageAndTextCell.mm
  FileExplorer/ModalSession.mm
  FileExplorer/ProgressText.mm
  FileExplorer/SelectionLine.mm
  FileExplorer/TreeOutlineView.mm
  FileExplorer/Z5FileExplorer.mm
  FileExplorer/Z5FileExplorer+Commands.mm
  FileExplorer/Z5FileExplorer+Export.mm
  ../Include/AlertWithText.mm
  ../Include/ColorButtonCell.mm
  ../Include/HandButton.mm
  ../Include/InterfaceTexts.mm
  ../Include/Z5MessageBox.mm)
target_include_directories(explorer-app PUBLIC FileExplorer ../Include)
target_link_libraries(explorer-app
  PUBLIC explorer-core explorer-link platform-gnustep vx_appkit PRIVATE vx_warnings)

set(VX_INTERFACE_FILES
  "${CMAKE_CURRENT_LIST_DIR}/Resources/Base/MainMenu.xib"
  "${CMAKE_CURRENT_LIST_DIR}/Resources/Base/copyingFileWindow.xib")

add_executable(file-explorer FileExplorer/main.mm)
target_link_libraries(file-explorer
  PRIVATE explorer-app platform-foundation platform-gnustep vx_warnings)
if(APPLE)
  target_sources(file-explorer PRIVATE ../Platform/Mac/DocumentArguments.mm)
endif()
vx_bundle(file-explorer MAIN_NIB MainMenu INTERFACE_FILES ${VX_INTERFACE_FILES})

vx_install_app(file-explorer FileExplorer)
