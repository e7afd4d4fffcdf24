# Debian packages, one for each installed component; `cpack` in the build folder makes them. Configure with the prefix
# /usr (the preset "package" does), so that the library goes to the folder of the machine's architecture.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "ZEPASignDLL maintainers")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL library development)
if(TARGET zepasign)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/api)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# zepa_package(COMPONENT NAME SECTION DESCRIPTION): one package; all but the library's need that in the same version.
function(zepa_package component name section description)
  string(TOUPPER ${component} COMPONENT)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_COMPONENT_${COMPONENT}_DESCRIPTION ${description} PARENT_SCOPE)
  if(NOT component STREQUAL "library")
    set(CPACK_COMPONENT_${COMPONENT}_DEPENDS library PARENT_SCOPE)
  endif()
endfunction()
zepa_package(library libzepasigndll${PROJECT_VERSION_MAJOR} libs "The shared library that hosts load.")
zepa_package(development libzepasigndll-dev libdevel "The header, and what CMake and pkg-config find the library by.")
zepa_package(tool zepasign utils "The command line: signs, verifies, and checks a configuration.")

include(CPack)
