# Run by cpack for each .deb, between the installation into its folder and the packing: adds what Debian asks of every
# package under usr/share/doc, a copyright and a changelog, and packs the manual page.
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} COMPONENT)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component})
  set(documents ${root}/usr/share/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
  file(WRITE ${documents}/copyright "\
Copyright: the authors of ZEPASignDLL. Their source names no licence, so all rights are theirs: ask them before you\n\
copy, change or pass on this package.\n")
  file(WRITE ${documents}/changelog "\
zepasigndll (${CPACK_PACKAGE_VERSION}) stable; urgency=medium\n\n\
  * Version ${CPACK_PACKAGE_VERSION}. What changed, the history of the source tells.\n\n\
 -- ${CPACK_PACKAGE_CONTACT}  ${now}\n")

  # The tool holds parts of two header libraries, whose notices must travel with it.
  if(component STREQUAL "tool")
    foreach(source IN ITEMS libcli11-dev nlohmann-json3-dev)
      if(NOT EXISTS /usr/share/doc/${source}/copyright)
        message(WARNING "Without /usr/share/doc/${source}/copyright the tool's package lacks a notice that it must carry.")
        continue()
      endif()
      file(READ /usr/share/doc/${source}/copyright notice)
      file(APPEND ${documents}/copyright "\nParts of ${source}, under these terms:\n\n${notice}")
    endforeach()
  endif()

  # Whatever the builder's umask is.
  execute_process(COMMAND find ${root} -type d -exec chmod 755 {} + COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND find ${documents} -type f -exec chmod 644 {} + COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB plain ${root}/usr/share/man/man?/*.? ${documents}/changelog)
  execute_process(COMMAND gzip -9n ${plain} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
