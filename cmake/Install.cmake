# What `cmake --install` puts where. Components: runtime (shared libraries), dev (what a program is built with),
# tool (vok, its manual and completions).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/vok)
set(VOK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vok)

# Installs library vok::NAME; each has a target file of its own, so that one can be there without the others.
function(vok_install_library target name)
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  install(
    TARGETS ${target}
    EXPORT vok-${name}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
  install(EXPORT vok-${name} NAMESPACE vok:: DESTINATION ${VOK_CMAKE_DIR} COMPONENT dev)
endfunction()

# Installs NAME.pc, which finds its prefix from where it lies.
function(vok_install_pkg_config name description cflags libs)
  file(RELATIVE_PATH VOK_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
  set(VOK_PC_NAME ${name})
  set(VOK_PC_DESCRIPTION ${description})
  set(VOK_PC_CFLAGS ${cflags})
  set(VOK_PC_LIBS ${libs})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/vok.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endfunction()

vok_install_library(vok vok)
vok_install_pkg_config(vok "the VOK store, static, for C++" "" "-l:libvok.a")
if(VOK_BUILD_SHARED)
  vok_install_library(vok_shared shared)
  vok_install_pkg_config(vok-shared "the VOK store's host interface, shared, for C++" "-DVOK_USING_SHARED" "-lvok")
  vok_install_library(vok_c c)
  vok_install_pkg_config(vok-c "the VOK store for C and other languages" "" "-lvok_c")
endif()

install(
  DIRECTORY ${PROJECT_SOURCE_DIR}/include/vok ${VOK_BINARY_INCLUDE_DIR}/vok
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT dev
  FILES_MATCHING
  PATTERN *.h)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vok-config.cmake.in ${PROJECT_BINARY_DIR}/vok-config.cmake
                              INSTALL_DESTINATION ${VOK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vok-config-version.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/vok-config.cmake ${PROJECT_BINARY_DIR}/vok-config-version.cmake
  DESTINATION ${VOK_CMAKE_DIR}
  COMPONENT dev)

if(TARGET vok_tool)
  install(TARGETS vok_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
endif()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT dev)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
# A Debian package has its own forms of these.
install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR}
        COMPONENT licence)
