# SPDX-License-Identifier: MIT
# A room is a folder of src/ built as one static library.
#
#   add_room(NAME SOURCES file... LINKS target...)
#
# Headers are included by their path from src/ ("engine/data/object_table.h"), but src/ itself is on
# nobody's include path: each room exports a folder that holds a link to itself alone, under its
# path. So a file can include a header only of its own room and of rooms that its target links, and
# a break in the layering does not compile.
function(add_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
  file(RELATIVE_PATH path ${PROJECT_SOURCE_DIR}/src ${CMAKE_CURRENT_SOURCE_DIR})
  set(include_dir ${PROJECT_BINARY_DIR}/include/${name})
  get_filename_component(parent ${include_dir}/${path} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_dir}/${path} SYMBOLIC)

  add_library(${name} STATIC ${ROOM_SOURCES})
  target_include_directories(${name} PUBLIC ${include_dir})
  target_link_libraries(${name} PUBLIC ${ROOM_LINKS} PRIVATE project_options)
endfunction()

# A second library of a room, for files that some programs replace: it sees what its room exports.
#
#   add_room_part(NAME SOURCES file... LINKS room target...)
function(add_room_part name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ROOM_SOURCES})
  target_link_libraries(${name} PUBLIC ${ROOM_LINKS} PRIVATE project_options)
endfunction()
