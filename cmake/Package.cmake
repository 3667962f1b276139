# `cpack` in the build folder: a .deb and a .tar.gz, or a .zip for Windows.
set(CPACK_PACKAGE_NAME vok)
set(CPACK_PACKAGE_VENDOR "the libvok authors")
set(CPACK_PACKAGE_CONTACT "the libvok authors <libvok@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "NOR-flash item store: library and command-line tool")
set(CPACK_PACKAGE_DESCRIPTION
    "libvok takes the configuration image (\"codeplug\") read from a device apart
into items, changes or adds items, and hands back flash contents that the
device's firmware will mount. vok is a command-line tool over it. The package
holds both, with what programs in C, C++ and other languages are built with.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME vok-${PROJECT_VERSION}-windows-x86_64)
else()
  set(CPACK_GENERATOR DEB TGZ)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION utils)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers
                                         ${PROJECT_BINARY_DIR}/shlibs)
  set(CPACK_VOK_BINARY_DIR ${PROJECT_BINARY_DIR})
  set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/packaging/debian/cpack.cmake)
  add_subdirectory(packaging/debian)
endif()
include(CPack)
