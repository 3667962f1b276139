# Read by cpack for each generator.
if(CPACK_GENERATOR STREQUAL DEB)
  set(CPACK_INSTALL_CMAKE_PROJECTS "")
  foreach(component runtime dev tool debian)
    list(APPEND CPACK_INSTALL_CMAKE_PROJECTS ${CPACK_VOK_BINARY_DIR} libvok ${component} /)
  endforeach()
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
endif()
