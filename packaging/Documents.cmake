# Manual pages, completion of the shells, documents.
find_program(GZIP gzip REQUIRED)

# Installs `file` as `name`.gz, the same bytes whenever it is made.
function(install_compressed file folder name component)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/${component}/${name}.gz)
  add_custom_command(OUTPUT ${compressed}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/${component}
    COMMAND ${GZIP} -9 --no-name --stdout ${file} > ${compressed}
    DEPENDS ${file} VERBATIM)
  add_custom_target(compressed-${component}-${name} ALL DEPENDS ${compressed})
  install(FILES ${compressed} DESTINATION ${folder} COMPONENT ${component})
endfunction()

# What goes by a program's name belongs to the component of the program.
function(component_of program result)
  if(program STREQUAL "zelsim")
    set(${result} simulated_platform PARENT_SCOPE)
  else()
    set(${result} tool PARENT_SCOPE)
  endif()
endfunction()

file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[1-8])
# The companion is not installed, nor is its page.
list(FILTER pages EXCLUDE REGEX "/zelhealth\\.8$")
foreach(page IN LISTS pages)
  cmake_path(GET page FILENAME name)
  cmake_path(GET page STEM program)
  string(REGEX MATCH "[1-8]$" section ${name})
  component_of(${program} component)
  install_compressed(${page} share/man/man${section} ${name} ${component})
endforeach()

file(GLOB completions CONFIGURE_DEPENDS completion/*.bash)
foreach(completion IN LISTS completions)
  cmake_path(GET completion STEM program)
  component_of(${program} component)
  install(FILES ${completion} DESTINATION share/bash-completion/completions RENAME ${program}
          COMPONENT ${component})
endforeach()

# Debian's zsh looks in vendor-completions.
file(GLOB completions CONFIGURE_DEPENDS completion/_*)
foreach(completion IN LISTS completions)
  cmake_path(GET completion FILENAME name)
  string(SUBSTRING ${name} 1 -1 program)
  component_of(${program} component)
  install(FILES ${completion} DESTINATION share/zsh/site-functions COMPONENT ${component})
  set(link ${ZELDIAG_LINKS}/${name})
  file(CREATE_LINK ../site-functions/${name} ${link} SYMBOLIC)
  install(FILES ${link} DESTINATION share/zsh/vendor-completions COMPONENT ${component})
endforeach()

foreach(component tool simulated_platform card_programs)
  set(folder share/doc/${${component}_package})
  install(FILES copyright DESTINATION ${folder} COMPONENT ${component})
  install_compressed(${CMAKE_CURRENT_SOURCE_DIR}/changelog ${folder} changelog ${component})
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/docs/behaviour.md ${PROJECT_SOURCE_DIR}/docs/card-keys.md
              ${PROJECT_SOURCE_DIR}/docs/sbox-registers.md
              ${PROJECT_SOURCE_DIR}/platform/include/SboxRegisters.def
        DESTINATION share/doc/${tool_package} COMPONENT tool)
install(FILES ${PROJECT_SOURCE_DIR}/docs/simulated-platform.md
        DESTINATION share/doc/${simulated_platform_package} COMPONENT simulated_platform)
