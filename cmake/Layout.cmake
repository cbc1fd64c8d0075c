# Where the parts stand that are installed, below the prefix. The folder ZELDIAG_TREE has the shape of the
# build tree: programs and their companions in bin/, the tool's platform libraries in lib/. The simulated
# cards' libraries stand apart in simulated/, where zelsim alone looks: the tool finds a vendor's
# libraries in the system's library path as long as none of that name stand in lib/.
set(ZELDIAG_TREE lib/zeldiag)
set(ZELDIAG_BIN ${ZELDIAG_TREE}/bin)
set(ZELDIAG_LIB ${ZELDIAG_TREE}/lib)
set(ZELDIAG_SIMULATED ${ZELDIAG_TREE}/simulated)

# Symbolic links that wait here to be installed.
set(ZELDIAG_LINKS ${PROJECT_BINARY_DIR}/links)
file(MAKE_DIRECTORY ${ZELDIAG_LINKS})

# Puts a program of ZELDIAG_BIN on the search path. What it finds beside itself it finds by its own
# name, not by the link's.
function(zel_install_link program component)
  set(link ${ZELDIAG_LINKS}/${program})
  file(CREATE_LINK ../${ZELDIAG_BIN}/${program} ${link} SYMBOLIC)
  install(FILES ${link} DESTINATION bin COMPONENT ${component})
endfunction()
