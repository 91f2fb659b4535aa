# The folder that is opened if no volume is named.
set(VX_SAMPLE "${CMAKE_BINARY_DIR}/sample")
set(VX_SAMPLE_STAMP "${CMAKE_BINARY_DIR}/sample.stamp")

# Adding or removing a file changes its folder. (With CONFIGURE_DEPENDS the build tool would always have
# something to do.)
file(GLOB_RECURSE sample_files "${CMAKE_SOURCE_DIR}/samples/*")
file(GLOB_RECURSE sample_folders LIST_DIRECTORIES true "${CMAKE_SOURCE_DIR}/samples/*")
list(REMOVE_ITEM sample_folders ${sample_files})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  "${CMAKE_SOURCE_DIR}/samples" ${sample_folders})

add_custom_command(
  OUTPUT "${VX_SAMPLE_STAMP}"
  COMMAND "${CMAKE_SOURCE_DIR}/scripts/make-sample" "${VX_SAMPLE}"
  COMMAND "${CMAKE_COMMAND}" -E touch "${VX_SAMPLE_STAMP}"
  DEPENDS "${CMAKE_SOURCE_DIR}/scripts/make-sample"
    "${CMAKE_SOURCE_DIR}/samples" ${sample_folders} ${sample_files}
  COMMENT "Laying out the sample")
add_custom_target(sample ALL DEPENDS "${VX_SAMPLE_STAMP}")
