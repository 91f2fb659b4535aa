# The explorer's end of the host link, and the process entry.
add_library(explorer-link STATIC
  FileExplorer/CPipeClientFileExplorerEvent.mm
  FileExplorer/CPipeFileExplorerClientWrapper.mm)
target_include_directories(explorer-link PUBLIC FileExplorer)
target_link_libraries(explorer-link PUBLIC pipe command-envelope vx_foundation PRIVATE vx_warnings)
