# How fast encrypted volumes are read; needs the decryptor.
if(TARGET volume-bitlocker)
  find_package(Threads REQUIRED)
  add_executable(decrypt-benchmark EXCLUDE_FROM_ALL
    "${CMAKE_CURRENT_LIST_DIR}/DecryptBenchmark.cpp")
  target_link_libraries(decrypt-benchmark PRIVATE
    volume-bitlocker vx_warnings Threads::Threads)
  # ./bench builds volume-bench and runs what there is.
  add_dependencies(volume-bench decrypt-benchmark make-bitlocker-volume)
endif()
