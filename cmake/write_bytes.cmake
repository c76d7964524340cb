# SPDX-License-Identifier: MIT
# The script behind embed_files: writes OUTPUT with the bytes of FILES, a list of constant=path.
set(source "// Written by cmake/write_bytes.cmake.\n#include \"${HEADER}\"\n")
foreach(file IN LISTS FILES)
  string(REGEX MATCH "^([^=]*)=(.*)$" found ${file})
  set(constant ${CMAKE_MATCH_1})
  file(READ ${CMAKE_MATCH_2} bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
  string(APPEND source "\nstatic const uint8_t ${constant}Bytes[] = {${bytes}};\n")
  string(APPEND source "const ${TYPE} ${constant} = {${constant}Bytes, sizeof(${constant}Bytes)};\n")
endforeach()
file(WRITE ${OUTPUT} "${source}")
