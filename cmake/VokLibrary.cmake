# What the libraries have in common.
set(VOK_BINARY_INCLUDE_DIR ${PROJECT_BINARY_DIR}/include)
configure_file(${PROJECT_SOURCE_DIR}/include/vok/version.h.in ${VOK_BINARY_INCLUDE_DIR}/vok/version.h @ONLY)

# Every object fits into a shared library, so that the static ones can be linked into a program's own.
function(vok_configure_library target)
  vok_configure_target(${target})
  target_include_directories(
    ${target}
    PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${VOK_BINARY_INCLUDE_DIR}>
           $<INSTALL_INTERFACE:include>
    PRIVATE ${PROJECT_SOURCE_DIR}/src)
  set_target_properties(
    ${target}
    PROPERTIES POSITION_INDEPENDENT_CODE ON
               CXX_VISIBILITY_PRESET hidden
               VISIBILITY_INLINES_HIDDEN ON
               ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}
               LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}
               RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()

# A shared library; a DLL brings its runtime along and has its version as a resource.
function(vok_configure_shared_library target output)
  vok_configure_library(${target})
  if(VOK_BUILD_SHARED)
    set(not_in_all OFF)
  else()
    set(not_in_all ON)
  endif()
  set_target_properties(${target} PROPERTIES OUTPUT_NAME ${output} VERSION ${PROJECT_VERSION}
                                             SOVERSION ${PROJECT_VERSION_MAJOR} EXCLUDE_FROM_ALL ${not_in_all})
  if(WIN32)
    set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_NAME ${output} PREFIX "" IMPORT_PREFIX "lib")
    target_link_options(${target} PRIVATE -static)
    vok_add_version_resource(${target} ${output}.dll VFT_DLL)
  endif()
endfunction()

# Visibility alone lets through what the standard library's templates instantiate; the linker's list does not.
function(vok_export_symbols target map)
  if(NOT WIN32)
    target_link_options(${target} PRIVATE LINKER:--version-script=${map} LINKER:--no-undefined-version LINKER:-z,now)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
  endif()
endfunction()

function(vok_add_version_resource target file type)
  enable_language(RC)
  set(VOK_RESOURCE_FILE ${file})
  set(VOK_RESOURCE_TYPE ${type})
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${resource} @ONLY)
  target_sources(${target} PRIVATE ${resource})
endfunction()
