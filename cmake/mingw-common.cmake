# Cross-building for Windows with MinGW-w64 and its POSIX threads; mingw-<processor>.cmake sets the processor and
# includes this. Everything is linked statically, so that the DLL needs no DLL of the compiler or of OpenSSL.
# CMAKE_FIND_ROOT_PATH, given on the command line, names the directory that holds OpenSSL and GoogleTest for this system.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-windres)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_EXE_LINKER_FLAGS_RELEASE_INIT -s)  # Microsoft's debuggers cannot read these symbols
set(CMAKE_SHARED_LINKER_FLAGS_RELEASE_INIT -s)
set(OPENSSL_USE_STATIC_LIBS TRUE)

# Programs are searched for on this machine, libraries only among those for Windows.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
