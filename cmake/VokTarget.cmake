# What every target of the project has in common.
function(vok_configure_target target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(VOK_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(VOK_COUNT_READS)
    target_compile_definitions(${target} PRIVATE VOK_COUNT_READS)
  endif()
  if(VOK_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${VOK_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${VOK_SANITIZE})
  endif()
endfunction()

# What only drives others: compiling it takes longer than running it.
function(vok_configure_tests target)
  vok_configure_target(${target})
  target_compile_options(${target} PRIVATE $<$<CONFIG:Debug>:-O0>)
endfunction()
