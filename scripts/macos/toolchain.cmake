# Builds for macOS on Linux, with the compiler that scripts/build-macos fetches.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_VERSION 20.0)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_OSX_ARCHITECTURES})

set(CMAKE_C_COMPILER ${CMAKE_CURRENT_LIST_DIR}/cc)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/c++)
foreach(tool ar ranlib nm strip)
  string(TOUPPER ${tool} name)
  find_program(CMAKE_${name} llvm-${tool}-15 REQUIRED)
endforeach()
# The linker writes the right install names; CMake need not change them.
set(CMAKE_INSTALL_NAME_TOOL "")

# Ignores the libraries and headers of this machine, which are for another system.
set(CMAKE_FIND_ROOT_PATH ${CMAKE_CURRENT_LIST_DIR}/../../build/macos/tools)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
