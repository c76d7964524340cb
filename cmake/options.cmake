# SPDX-License-Identifier: MIT
# Compiler settings that every target of ours shares.
add_library(project_options INTERFACE)
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wundef -Wdouble-promotion -Wfloat-conversion -Werror
  # A fused multiply-add rounds once where the formats ask for two roundings: pixels would differ
  # between machines.
  -ffp-contract=off
  -fno-rtti)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # gcc 12 warns of overlapping copies inside its own std::string, where there are none.
  target_compile_options(project_options INTERFACE -Wno-restrict)
endif()
if(QUORVALE_SANITIZE)
  # libFuzzer's own main comes with the program that it drives.
  set(sanitizers -fsanitize=address,undefined,fuzzer-no-link)
  target_compile_options(project_options INTERFACE ${sanitizers} -fno-sanitize=vptr
    -fno-sanitize-recover=all -fno-omit-frame-pointer -gline-tables-only -O1)
  target_link_options(project_options INTERFACE ${sanitizers})
endif()
if(QUORVALE_SANITIZE_THREADS)
  target_compile_options(project_options INTERFACE -fsanitize=thread -fno-omit-frame-pointer -O1)
  target_link_options(project_options INTERFACE -fsanitize=thread)
endif()

# Our own code throws nothing; only what includes a library that does (the command line of dpk) is
# built without this.
add_library(no_exceptions INTERFACE)
target_compile_options(no_exceptions INTERFACE -fno-exceptions)

# For what viewers and authors run, which takes files of strangers: checked copies, a guard below each
# frame's return address, a place in memory that differs from run to run, tables that are read-only
# once the program is loaded, and marks where indirect jumps may land.
set(hardened_code "")
set(hardened_program "")
if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo)$")
  set(hardened_code -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fcf-protection
    -fPIE)
  set(hardened_program -pie -Wl,-z,relro,-z,now,-z,noexecstack)
endif()
