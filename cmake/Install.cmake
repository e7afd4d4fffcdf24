# What is installed, in three components: library (what a host runs with), development (what a host is built with) and
# tool, which tools/ installs. Nothing installed holds the prefix, so the tree can be moved.
include(CMakePackageConfigHelpers)

add_library(ZEPASignDLL::ZEPASignDLL ALIAS ZEPASignDLL)
install(TARGETS ZEPASignDLL EXPORT ZEPASignDLLTargets
  RUNTIME COMPONENT library
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  PUBLIC_HEADER COMPONENT development)

# Programs find libraries below /usr by themselves; under any other prefix the tool looks for the library beside itself.
if(TARGET zepasign AND NOT WIN32 AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set_target_properties(zepasign PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()

set(package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/ZEPASignDLL)
configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/ZEPASignDLLConfig.cmake.in ZEPASignDLLConfig.cmake
  INSTALL_DESTINATION ${package_directory} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(ZEPASignDLLConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT ZEPASignDLLTargets NAMESPACE ZEPASignDLL:: DESTINATION ${package_directory} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/ZEPASignDLLConfig.cmake ${PROJECT_BINARY_DIR}/ZEPASignDLLConfigVersion.cmake
  DESTINATION ${package_directory} COMPONENT development)

# In a .pc file "#" begins a comment.
string(REPLACE "#" "\\#" ZEPASIGN_PC_DESCRIPTION "${PROJECT_DESCRIPTION}")
file(RELATIVE_PATH ZEPASIGN_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ZEPASIGN_PC_TO_PREFIX "${ZEPASIGN_PC_TO_PREFIX}")
configure_file(${CMAKE_CURRENT_LIST_DIR}/ZEPASignDLL.pc.in ZEPASignDLL.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ZEPASignDLL.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# Packages call ldconfig by themselves, and install into DESTDIR.
if(NOT WIN32)
  install(CODE [[
    if(NOT DEFINED ENV{DESTDIR})
      message(STATUS "Run ldconfig as root, so that hosts find the library.")
    endif()]] COMPONENT library)
endif()
