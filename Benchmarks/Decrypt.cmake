# How fast encrypted volumes are read; needs the decryptor.
if(TARGET bitlocker-decryptor)
  find_package(Threads REQUIRED)
  add_executable(decrypt-benchmark "${CMAKE_CURRENT_LIST_DIR}/DecryptBenchmark.cpp")
  target_link_libraries(decrypt-benchmark PRIVATE
    bitlocker-decryptor vx_warnings Threads::Threads)
endif()
