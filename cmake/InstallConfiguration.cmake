# Installs the files that have their place in the configuration folder, which is the system's or that of the
# prefix: only now the prefix is known. What an operator has put into the settings is kept.
#
#   tree_bin   the folder of the tool and its companions, below the prefix
#   settings   the settings file of the source tree
#   ssh        the settings for ssh of the source tree, which count for the system as a whole
#   links      a folder with the links to install
function(install_settings file folder)
  cmake_path(GET file FILENAME name)
  if(NOT EXISTS $ENV{DESTDIR}${folder}/${name})
    file(INSTALL ${file} DESTINATION ${folder})
  endif()
endfunction()

if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(etc /etc)
  file(INSTALL ${links}/system/Settings.ini DESTINATION /usr/${tree_bin})
  # The tool looks for its help text here first.
  file(INSTALL ${links}/system/te_doc.t DESTINATION /etc/hosk)
  install_settings(${ssh} /etc/ssh/ssh_config.d)
else()
  set(etc ${CMAKE_INSTALL_PREFIX}/etc)
  file(INSTALL ${links}/movable/Settings.ini DESTINATION ${CMAKE_INSTALL_PREFIX}/${tree_bin})
endif()

install_settings(${settings} ${etc}/zeldiag)
