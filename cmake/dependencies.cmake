# SPDX-License-Identifier: MIT
# Everything comes from Debian 12; scripts/packages.txt is the list that `./play` and `./test` install.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(ZLIB REQUIRED)
find_package(OpenGL REQUIRED)
find_package(GLEW REQUIRED)
find_package(GTest REQUIRED)
find_package(benchmark REQUIRED)
find_package(CLI11 REQUIRED)
find_package(assimp REQUIRED)
find_package(meshoptimizer REQUIRED CONFIG)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
pkg_check_modules(DEFLATE REQUIRED IMPORTED_TARGET libdeflate)
pkg_check_modules(XXHASH REQUIRED IMPORTED_TARGET libxxhash)
pkg_check_modules(EGL REQUIRED IMPORTED_TARGET egl)
pkg_check_modules(SDL REQUIRED IMPORTED_TARGET sdl)
pkg_check_modules(TINYXML REQUIRED IMPORTED_TARGET tinyxml)
pkg_check_modules(MODPLUG REQUIRED IMPORTED_TARGET libmodplug)
pkg_check_modules(SDL2 REQUIRED IMPORTED_TARGET sdl2)
pkg_check_modules(IMGUI REQUIRED IMPORTED_TARGET imgui)
pkg_check_modules(X11 REQUIRED IMPORTED_TARGET x11)

# The engine is compiled against the OpenGL headers only. Which OpenGL it talks to is the choice of
# the program that links it: the player takes the driver, tests take a recording one.
add_library(gl_headers INTERFACE)
target_include_directories(gl_headers SYSTEM INTERFACE ${GLEW_INCLUDE_DIRS} ${OPENGL_INCLUDE_DIR})
add_library(gl_driver INTERFACE)
target_link_libraries(gl_driver INTERFACE GLEW::GLEW OpenGL::GL)

# The same for SDL.
add_library(sdl_headers INTERFACE)
target_include_directories(sdl_headers SYSTEM INTERFACE ${SDL_INCLUDE_DIRS})
target_compile_options(sdl_headers INTERFACE ${SDL_CFLAGS_OTHER})

# And for libmodplug.
add_library(modplug_headers INTERFACE)
target_include_directories(modplug_headers SYSTEM INTERFACE ${MODPLUG_INCLUDE_DIRS})

find_library(ZOPFLI_LIBRARY zopfli REQUIRED)
find_path(STB_INCLUDE_DIR stb_image.h PATH_SUFFIXES stb REQUIRED)
add_library(stb_headers INTERFACE)
target_include_directories(stb_headers SYSTEM INTERFACE ${STB_INCLUDE_DIR})
