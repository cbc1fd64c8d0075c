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
  if(program MATCHES "^zelsim")
    set(${result} simulated_platform PARENT_SCOPE)
  elseif(program MATCHES "^(zelhealth|zeldiag-slurm)")
    set(${result} companion PARENT_SCOPE)
  else()
    set(${result} tool PARENT_SCOPE)
  endif()
endfunction()

# All of them stand in one folder of the build tree, where the tests look: that of the messages is made there,
# the others are put there as they are.
set(page_folder ${CMAKE_CURRENT_BINARY_DIR}/man)
file(MAKE_DIRECTORY ${page_folder})
file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*)
foreach(source IN LISTS pages)
  cmake_path(GET source FILENAME name)
  if(name MATCHES "\\.in$")
    cmake_path(REMOVE_EXTENSION name LAST_ONLY)
    zel_manual_page(${source} ${page_folder}/${name})
  else()
    configure_file(${source} ${page_folder}/${name} COPYONLY)
  endif()
  string(REGEX MATCH "[1-8]$" section ${name})
  component_of(${name} component)
  if(component IN_LIST packaged_components)
    install_compressed(${page_folder}/${name} share/man/man${section} ${name} ${component})
  endif()
endforeach()

# They stand in one folder, too: those that name tests are filled there.
set(completion_folder ${CMAKE_CURRENT_BINARY_DIR}/completion)
file(MAKE_DIRECTORY ${completion_folder})
file(GLOB completions CONFIGURE_DEPENDS completion/*)
foreach(source IN LISTS completions)
  cmake_path(GET source FILENAME name)
  if(name MATCHES "\\.in$")
    cmake_path(REMOVE_EXTENSION name LAST_ONLY)
    zel_fill(${source} ${completion_folder}/${name})
  else()
    configure_file(${source} ${completion_folder}/${name} COPYONLY)
  endif()
  string(REGEX REPLACE "^_|\\.bash$" "" program ${name})
  component_of(${program} component)
  if(NOT component IN_LIST packaged_components)
    continue()
  endif()
  if(name MATCHES "\\.bash$")
    install(FILES ${completion_folder}/${name} DESTINATION share/bash-completion/completions
            RENAME ${program} COMPONENT ${component})
  else()
    install(FILES ${completion_folder}/${name} DESTINATION share/zsh/site-functions
            COMPONENT ${component})
    # Debian's zsh looks in vendor-completions.
    set(link ${ZELDIAG_LINKS}/${name})
    file(CREATE_LINK ../site-functions/${name} ${link} SYMBOLIC)
    install(FILES ${link} DESTINATION share/zsh/vendor-completions COMPONENT ${component})
  endif()
endforeach()

foreach(component IN LISTS packaged_components)
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
if(TARGET zelhealth)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/zelhealth-host.md
          DESTINATION share/doc/${companion_package} COMPONENT companion)
  install(FILES ${PROJECT_SOURCE_DIR}/docs/zelhealth-stream.schema.json
          DESTINATION share/zeldiag COMPONENT companion)
endif()
