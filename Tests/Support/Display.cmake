include_guard(GLOBAL)

# test-display: a virtual display that a suite starts for itself.
add_library(test-display STATIC "${CMAKE_CURRENT_LIST_DIR}/VirtualDisplay.cpp")
target_include_directories(test-display PUBLIC "${CMAKE_CURRENT_LIST_DIR}")
target_link_libraries(test-display PRIVATE vx_warnings)
