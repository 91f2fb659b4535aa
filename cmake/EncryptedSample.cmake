# The sample tree as an encrypted disk image: FAT32, with the password below, which ./explore prints.
# Without the tools to make it there is no such target.
set(VX_ENCRYPTED_SAMPLE "${CMAKE_BINARY_DIR}/encrypted-sample.img")
set(VX_ENCRYPTED_SAMPLE_PASSWORD "sample")

find_program(VX_MKFS_FAT mkfs.fat PATHS /usr/sbin /sbin)
find_program(VX_MCOPY mcopy)
if(NOT TARGET make-bitlocker-volume OR NOT VX_MKFS_FAT OR NOT VX_MCOPY)
  message(STATUS "dosfstools, mtools, libcrypto or zlib not found: no encrypted sample is built")
  return()
endif()

add_custom_command(
  OUTPUT "${VX_ENCRYPTED_SAMPLE}"
  COMMAND "${CMAKE_SOURCE_DIR}/scripts/make-encrypted-sample"
    "${VX_SAMPLE}" "${VX_ENCRYPTED_SAMPLE}" "${VX_ENCRYPTED_SAMPLE_PASSWORD}"
    "${VX_MKFS_FAT}" "${VX_MCOPY}" "$<TARGET_FILE:make-bitlocker-volume>"
  DEPENDS "${VX_SAMPLE_STAMP}" "${CMAKE_SOURCE_DIR}/scripts/make-encrypted-sample"
    make-bitlocker-volume
  COMMENT "Encrypting the sample")
add_custom_target(encrypted-sample DEPENDS "${VX_ENCRYPTED_SAMPLE}")
