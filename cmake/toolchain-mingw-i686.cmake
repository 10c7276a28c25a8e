# 32-bit Windows module (KelvoCalibrate.kvx, a DLL) cross-compiled with
# MinGW-w64, into build-mingw/. The DLL must load on a bare Windows system, so
# the GCC and C++ runtimes (and, with the posix thread model, winpthread) are
# linked statically: the module imports system DLLs only.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86)

set(KVX_MINGW_PREFIX i686-w64-mingw32)
# The posix thread model gives std::mutex and std::thread (GCC 12's win32
# model has neither); fall back to the default compiler otherwise.
find_program(KVX_MINGW_CXX NAMES ${KVX_MINGW_PREFIX}-g++-posix ${KVX_MINGW_PREFIX}-g++)
find_program(KVX_MINGW_CC NAMES ${KVX_MINGW_PREFIX}-gcc-posix ${KVX_MINGW_PREFIX}-gcc)
if(NOT KVX_MINGW_CXX OR NOT KVX_MINGW_CC)
  message(FATAL_ERROR "${KVX_MINGW_PREFIX}-g++ not found: install g++-mingw-w64-i686")
endif()
set(CMAKE_C_COMPILER ${KVX_MINGW_CC})
set(CMAKE_CXX_COMPILER ${KVX_MINGW_CXX})
set(CMAKE_RC_COMPILER ${KVX_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${KVX_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++ -static")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++ -static")
