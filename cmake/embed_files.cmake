# SPDX-License-Identifier: MIT
# Files that the program carries: a source file with their bytes.
#
#   embed_files(OUTPUT HEADER path.h TYPE Name FILES constant=path...)
#
# The header declares `extern const Name constant;`, a record of the bytes and their number. Paths
# are relative to the caller's folder.
function(embed_files output)
  cmake_parse_arguments(EMBED "" "HEADER;TYPE" "FILES" ${ARGN})
  list(TRANSFORM EMBED_FILES REPLACE "=" "=${CMAKE_CURRENT_SOURCE_DIR}/")
  list(TRANSFORM EMBED_FILES REPLACE "^.*=" "" OUTPUT_VARIABLE inputs)
  set(script ${PROJECT_SOURCE_DIR}/cmake/write_bytes.cmake)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${output} -DHEADER=${EMBED_HEADER} -DTYPE=${EMBED_TYPE}
      "-DFILES=${EMBED_FILES}" -P ${script}
    DEPENDS ${inputs} ${script}
    VERBATIM)
endfunction()
