# The manual page and the completions, as the tool itself writes them.
set(help_dir ${PROJECT_BINARY_DIR}/help)
file(MAKE_DIRECTORY ${help_dir})
set(help_files "")

# Makes FILE of --help-as FORM and installs it to a folder of share/.
function(vok_install_help form file destination)
  add_custom_command(
    OUTPUT ${help_dir}/${file}
    COMMAND vok_tool --help-as ${form} > ${help_dir}/${file}
    DEPENDS vok_tool
    VERBATIM)
  list(APPEND help_files ${help_dir}/${file})
  set(help_files ${help_files} PARENT_SCOPE)
  install(FILES ${help_dir}/${file} DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/${destination} COMPONENT tool)
endfunction()

include(GNUInstallDirs)
if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
  set(zsh_folder zsh/vendor-completions)
else()
  set(zsh_folder zsh/site-functions)
endif()
vok_install_help(bash vok bash-completion/completions)
vok_install_help(zsh _vok ${zsh_folder})
vok_install_help(fish vok.fish fish/vendor_completions.d)

add_custom_command(
  OUTPUT ${help_dir}/vok.1.gz
  COMMAND vok_tool --help-as man | gzip -9n > ${help_dir}/vok.1.gz
  DEPENDS vok_tool
  VERBATIM)
list(APPEND help_files ${help_dir}/vok.1.gz)
install(FILES ${help_dir}/vok.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
add_custom_target(vok_help ALL DEPENDS ${help_files})
