# The target `lint`: clang-tidy looks at every source file, and cppcheck at all of them. `lint-tool` is
# the same but that clang-tidy looks at the tool alone, its platform and its cards: the companion and the tests
# take several times as long.
#
# A file that was looked at leaves a stamp, and is looked at again when its object file is made again: so
# what it includes counts too, and nothing is compiled for the linter's sake that is not built anyway.
find_program(CLANG_TIDY clang-tidy)
find_program(CPPCHECK cppcheck)

# Standard library functions are taken at their word; to look into them takes three times as long. Of
# g++'s own the vector shuffle and the levels of processors are unknown to clang, as are some of its warnings. Stand-ins for functions of
# libc cannot be compiled by it where libc has checking ones of its own.
set(lint_tidy ${CLANG_TIDY} -p ${PROJECT_BINARY_DIR} --quiet
  --extra-arg=-Xclang --extra-arg=-analyzer-config
  --extra-arg=-Xclang --extra-arg=c++-stdlib-inlining=false
  --extra-arg=-Wno-unknown-warning-option --extra-arg=-U_FORTIFY_SOURCE
  "--extra-arg=-D__builtin_shuffle(vector,...)=(vector)"
  "--extra-arg=-D__builtin_cpu_supports(level)=__builtin_cpu_is(\"intel\")")

# All targets made in `folder` and below.
function(lint_targets folder out)
  get_property(all DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  get_property(subfolders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(subfolder IN LISTS subfolders)
    lint_targets(${subfolder} below)
    list(APPEND all ${below})
  endforeach()
  set(${out} ${all} PARENT_SCOPE)
endfunction()

# Adds the stamp of a target's source file to `stamps`, unless another target has the file too.
function(lint_source target source)
  get_target_property(folder ${target} SOURCE_DIR)
  get_target_property(objects ${target} BINARY_DIR)
  cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${folder} NORMALIZE OUTPUT_VARIABLE file)
  cmake_path(IS_PREFIX folder ${file} NORMALIZE inside)
  cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE name)
  set(stamp ${PROJECT_BINARY_DIR}/lint/${name})
  if(NOT file MATCHES "\\.cpp$" OR NOT inside OR stamp IN_LIST stamps)
    return()
  endif()
  cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${folder} OUTPUT_VARIABLE object)
  cmake_path(GET stamp PARENT_PATH stamp_folder)
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${lint_tidy} ${file}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${stamp_folder}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${objects}/CMakeFiles/${target}.dir/${object}.o
            ${PROJECT_SOURCE_DIR}/.clang-tidy ${PROJECT_SOURCE_DIR}/tests/.clang-tidy
    COMMENT "Analysing ${name}"
    VERBATIM)
  set(stamps ${stamps} ${stamp} PARENT_SCOPE)
endfunction()

lint_targets(${PROJECT_SOURCE_DIR} targets)
foreach(target IN LISTS targets)
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    if(source)
      lint_source(${target} ${source})
    endif()
  endforeach()
endforeach()

set(tool_stamps ${stamps})
list(FILTER tool_stamps INCLUDE REGEX "^${PROJECT_BINARY_DIR}/lint/(src|platform|card)/")

file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/lint)
cmake_host_system_information(RESULT processors QUERY NUMBER_OF_LOGICAL_CORES)
add_custom_target(lint-cppcheck
  COMMAND ${CPPCHECK} -j ${processors} --quiet --error-exitcode=1 --project=${PROJECT_BINARY_DIR}/compile_commands.json
          --cppcheck-build-dir=${PROJECT_BINARY_DIR}/lint
          --enable=warning,performance,portability --library=posix,googletest --inline-suppr
          --suppressions-list=${PROJECT_SOURCE_DIR}/.cppcheck-suppressions
  VERBATIM)

add_custom_target(lint-tool DEPENDS ${tool_stamps})
add_custom_target(lint DEPENDS ${stamps})
add_dependencies(lint-tool lint-cppcheck)
add_dependencies(lint lint-cppcheck)
