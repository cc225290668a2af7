# 32-bit Windows, cross-compiled with Debian's g++-mingw-w64-i686-posix and run
# under Wine: cmake -B DIR -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-win32.cmake
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)

set(_prefix i686-w64-mingw32)
set(CMAKE_C_COMPILER ${_prefix}-gcc-posix)          # posix: std::thread and std::mutex exist
set(CMAKE_CXX_COMPILER ${_prefix}-g++-posix)
set(CMAKE_RC_COMPILER ${_prefix}-windres)
set(CMAKE_AR ${_prefix}-ar CACHE STRING "")
set(CMAKE_RANLIB ${_prefix}-ranlib CACHE STRING "")

# SSE2 rounds doubles as x86-64 does. Windows calls back with a stack aligned to
# 4 bytes only, and SSE2 wants 16: each function that needs it realigns.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")

# An exception crosses the border of a DLL only if both sides share one libgcc, and
# std::uncaught_exceptions() stays right only if they share one libstdc++ as well.
foreach(_kind EXE SHARED MODULE)
    set(CMAKE_${_kind}_LINKER_FLAGS_INIT "-shared-libgcc")
endforeach()

set(CMAKE_FIND_ROOT_PATH /usr/${_prefix})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

get_filename_component(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/run-win32.sh ABSOLUTE)
