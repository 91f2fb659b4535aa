# vx_add_room(<target> <source>...): a room, a folder and a static library. Its headers are found only by
# what links it, so an include against the arrows does not compile. The volume library may link it.
function(vx_add_room name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_libraries(${name} PRIVATE vx_warnings)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endfunction()
