# What the window costs: the application's classes in a program of the benchmark's own, run on a
# virtual display.
include("${CMAKE_SOURCE_DIR}/FileExplorer/Resources/Bundle.cmake")
include("${CMAKE_SOURCE_DIR}/Tests/Support/Display.cmake")

add_executable(window-probe EXCLUDE_FROM_ALL
  CountedRows.mm
  ExportWorkerEnd.mm
  GeneratedVolume.cpp
  WatchedProgress.mm
  WindowProbe.mm)
target_link_libraries(window-probe PRIVATE
  explorer-app platform-gnustep volume-export-core free-memory vx_warnings)
vx_bundle(window-probe NAME WindowProbe MAIN_NIB MainMenu INTERFACE_FILES
  "${CMAKE_SOURCE_DIR}/FileExplorer/Resources/Base/MainMenu.xib"
  "${CMAKE_SOURCE_DIR}/FileExplorer/Resources/Base/copyingFileWindow.xib")
add_dependencies(window-probe volume-library)

add_executable(empty-window EXCLUDE_FROM_ALL EmptyWindow.mm)
target_link_libraries(empty-window PRIVATE vx_appkit vx_warnings)

target_sources(volume-bench PRIVATE
  BackgroundProcess.cpp DisplayClient.cpp ShownProgram.cpp WindowRows.cpp
  "${CMAKE_SOURCE_DIR}/Tests/Support/TemporaryFolder.cpp")
target_link_libraries(volume-bench PRIVATE test-display)
add_dependencies(volume-bench window-probe empty-window file-explorer)
