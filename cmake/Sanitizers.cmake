# ZELDIAG_SANITIZE: "" | "address" (with undefined behaviour) | "thread", for every target alike.
set(ZELDIAG_SANITIZE "" CACHE STRING "Sanitizers to build with: address or thread")

if(ZELDIAG_SANITIZE STREQUAL "address")
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all)
elseif(ZELDIAG_SANITIZE STREQUAL "thread")
  set(sanitizers -fsanitize=thread)
elseif(NOT ZELDIAG_SANITIZE STREQUAL "")
  message(FATAL_ERROR "ZELDIAG_SANITIZE is \"${ZELDIAG_SANITIZE}\"; it takes \"address\" or \"thread\"")
endif()

# Takes the sanitizers off a target: for what runs on a card, which has no libraries, and what is loaded
# into programs that have no sanitizer.
function(zel_without_sanitizers target)
  foreach(property COMPILE_OPTIONS LINK_OPTIONS)
    get_target_property(options ${target} ${property})
    if(options)
      list(FILTER options EXCLUDE REGEX "^-f(no-)?sanitize")
      set_target_properties(${target} PROPERTIES ${property} "${options}")
    endif()
  endforeach()
endfunction()

if(sanitizers)
  add_compile_options(${sanitizers} -fno-omit-frame-pointer -g -O1)
  add_link_options(${sanitizers})

  # Without sanitizers itself, so that programs that have none can be given it like all others.
  add_library(zel_sanitizer_options OBJECT cmake/SanitizerOptions.cpp)
  zel_without_sanitizers(zel_sanitizer_options)
  link_libraries("$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:zel_sanitizer_options>>")
endif()

# Gives a program what the thread sanitizer is not to report in it.
function(zel_thread_suppressions target)
  if(ZELDIAG_SANITIZE STREQUAL "thread")
    add_library(zel_thread_suppressions OBJECT ${PROJECT_SOURCE_DIR}/cmake/ThreadSuppressions.cpp)
    zel_without_sanitizers(zel_thread_suppressions)
    target_link_libraries(${target} PRIVATE $<TARGET_OBJECTS:zel_thread_suppressions>)
  endif()
endfunction()

# For libFuzzer: every object tells which edges run, and how it compares. The fuzz targets alone are
# linked with libFuzzer itself.
option(ZELDIAG_FUZZ "Build for libFuzzer, which takes clang++" OFF)
if(ZELDIAG_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "ZELDIAG_FUZZ takes clang++; the preset \"fuzz\" has it")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
