# Compiler hardening of release builds. A sanitizer brings checks of its own that these would hide.
# Each object records the options that it was compiled with; they stay in what is linked of it, where
# the test of the binaries finds them.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(ZELDIAG_HARDENED OFF)
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND ZELDIAG_SANITIZE STREQUAL "")
  set(ZELDIAG_HARDENED ON)
  add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
                      -frecord-gcc-switches)
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()

# Makes a program static, and position-independent all the same. CMake knows -pie only, which would
# undo -static-pie; and the C library's start of such a program does not survive a RUNPATH. Sanitizers do
# not go with static linking.
function(zel_static target)
  set_property(TARGET ${target} PROPERTY POSITION_INDEPENDENT_CODE)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "")
  target_compile_options(${target} PRIVATE -fPIE)
  target_link_options(${target} PRIVATE -static-pie)
  zel_without_sanitizers(${target})
endfunction()
