# SPDX-License-Identifier: MIT
# The libraries that read bytes of strangers, from Debian's own sources and with the sanitizer, in
# the place of those that the system has: scripts/fuzz-libraries fetches them.
file(GLOB tinyxml_folder ${QUORVALE_LIBRARY_SOURCES}/tinyxml-*/)
file(GLOB modplug_folder ${QUORVALE_LIBRARY_SOURCES}/libmodplug-*/)
file(GLOB modplug_sources ${modplug_folder}/src/*.cpp)

add_library(fuzzed_libraries OBJECT
  ${tinyxml_folder}/tinystr.cpp
  ${tinyxml_folder}/tinyxml.cpp
  ${tinyxml_folder}/tinyxmlerror.cpp
  ${tinyxml_folder}/tinyxmlparser.cpp
  ${modplug_sources})
set_target_properties(fuzzed_libraries PROPERTIES CXX_STANDARD 14)
target_include_directories(fuzzed_libraries PRIVATE
  ${tinyxml_folder} ${modplug_folder}/src ${modplug_folder}/src/libmodplug)
target_compile_definitions(fuzzed_libraries PRIVATE
  TIXML_USE_STL MODPLUG_BUILD HAVE_STDINT_H HAVE_INTTYPES_H HAVE_SINF HAVE_SETENV)
# Their numbers overflow as they please; reads and writes out of bounds are looked for.
target_compile_options(fuzzed_libraries PRIVATE -w -O1 -fsanitize=address,fuzzer-no-link)
target_link_libraries(fuzz PRIVATE $<TARGET_OBJECTS:fuzzed_libraries>)
