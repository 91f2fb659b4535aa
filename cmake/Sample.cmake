# The tree that stands for a volume where none is named.
set(VX_SAMPLE "${CMAKE_BINARY_DIR}/sample")
set(VX_SAMPLE_STAMP "${CMAKE_BINARY_DIR}/sample.stamp")
file(GLOB_RECURSE sample_files CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/samples/*")

add_custom_command(
  OUTPUT "${VX_SAMPLE_STAMP}"
  COMMAND "${CMAKE_SOURCE_DIR}/scripts/make-sample" "${VX_SAMPLE}"
  COMMAND "${CMAKE_COMMAND}" -E touch "${VX_SAMPLE_STAMP}"
  DEPENDS "${CMAKE_SOURCE_DIR}/scripts/make-sample" ${sample_files}
  COMMENT "Laying out the sample")
add_custom_target(sample ALL DEPENDS "${VX_SAMPLE_STAMP}")
