# Windows on x86 (32 bits); what is built runs under a Wine for i386.
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine)
