# One set of warnings for everything that is compiled here; each of them is an error.
# A sanitizer's checks make g++ see null pointers and uninitialized members that are not there, hence
# -Wnull-dereference and -Wmaybe-uninitialized without one only.
# g++ 12 sees overlaps in std::string's operator+ that are not there, hence -Wno-restrict.
add_library(zel_warnings INTERFACE)
target_compile_options(zel_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wcast-qual -Wformat=2 -Wundef
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<NOT:$<BOOL:${ZELDIAG_SANITIZE}>>:-Wnull-dereference>
  $<$<AND:$<BOOL:${ZELDIAG_SANITIZE}>,$<CXX_COMPILER_ID:GNU>>:-Wno-maybe-uninitialized>
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Woverloaded-virtual>)
