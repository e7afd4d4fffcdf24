# zepasign_flags: what every target of this project is compiled with; linked privately, never exported.
add_library(zepasign_flags INTERFACE)
target_compile_features(zepasign_flags INTERFACE cxx_std_20)
target_include_directories(zepasign_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(zepasign_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=  # no path of the building machine in the library
  $<$<BOOL:${ZEPASIGN_WARNINGS_AS_ERRORS}>:-Werror>
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor>)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # At -O3 GCC 12 takes "..." + std::string() for an overlapping copy.
  target_compile_options(zepasign_flags INTERFACE $<$<CONFIG:Release>:-Wno-restrict>)
endif()

if(ZEPASIGN_SANITIZE)
  target_compile_options(zepasign_flags INTERFACE
    -fsanitize=${ZEPASIGN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -D_GLIBCXX_ASSERTIONS)
  target_link_options(zepasign_flags INTERFACE -fsanitize=${ZEPASIGN_SANITIZE})
endif()

# zepasign_shipped: the same and hardening, for what is installed. Sanitizers bring checks of their own; MinGW's stack
# protector and fortified calls would need one more DLL.
add_library(zepasign_shipped INTERFACE)
target_link_libraries(zepasign_shipped INTERFACE zepasign_flags)
if(WIN32)
  target_link_options(zepasign_shipped INTERFACE
    -Wl,--dynamicbase,--nxcompat $<$<EQUAL:${CMAKE_SIZEOF_VOID_P},8>:-Wl,--high-entropy-va>)
elseif(NOT ZEPASIGN_SANITIZE)
  target_compile_options(zepasign_shipped INTERFACE
    -fstack-protector-strong -U_FORTIFY_SOURCE $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection=full>)
  target_link_options(zepasign_shipped INTERFACE -Wl,-z,relro,-z,now,-z,noexecstack)
endif()

# zepasign_module(NAME SOURCES...): one module, compiled once; the shared library and the tests link the same objects.
function(zepasign_module name)
  add_library(${name} OBJECT ${ARGN})
  target_link_libraries(${name} PRIVATE zepasign_shipped)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
endfunction()
