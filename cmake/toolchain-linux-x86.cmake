# 32-bit x86 Linux build on an x86-64 host (g++-multilib), into build-x86/.
# No CMAKE_SYSTEM_NAME: the host runs the 32-bit binaries, so the tests and
# tools are built and run as in the native build.
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(CMAKE_C_FLAGS_INIT "-m32")
set(CMAKE_CXX_FLAGS_INIT "-m32")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-m32")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-m32")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-m32")
