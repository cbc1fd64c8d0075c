# zel_embed(TARGET NAMESPACE FILE...): makes files a part of a program. FILE "plans/check.toml" is the
# constant std::string_view check_toml in NAMESPACE, and check_toml_sha256 its hash in hexadecimal digits, which
# who uses them has to declare; a file that changes is embedded again.
function(zel_embed target namespace)
  foreach(file IN LISTS ARGN)
    cmake_path(ABSOLUTE_PATH file NORMALIZE OUTPUT_VARIABLE source)
    cmake_path(GET file FILENAME name)
    string(MAKE_C_IDENTIFIER ${name} constant)
    set(embedded ${CMAKE_CURRENT_BINARY_DIR}/embedded/${file}.cpp)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    file(READ ${source} text)
    string(SHA256 hash "${text}")
    file(CONFIGURE OUTPUT ${embedded} @ONLY CONTENT [[
#include <string_view>

namespace @namespace@ {
extern const std::string_view @constant@;
const std::string_view @constant@ = R"embedded(@text@)embedded";
extern const std::string_view @constant@_sha256;
const std::string_view @constant@_sha256 = "@hash@";
}  // namespace @namespace@
]])
    # Every compiler here takes longer texts than all compilers must.
    set_source_files_properties(${embedded} PROPERTIES COMPILE_OPTIONS -Wno-overlength-strings)
    target_sources(${target} PRIVATE ${embedded})
  endforeach()
endfunction()
