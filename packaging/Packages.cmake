# Names, descriptions and dependencies of the packages. What the libraries that a program is linked with
# require is found out by dpkg-shlibdeps and rpmbuild; here stands what it calls.
#
# No package provides the vendor's libraries on every host, and a host may have them without a package:
# nothing requires them.
set(CPACK_GENERATOR DEB RPM)
set(CPACK_COMPONENTS_ALL ${packaged_components})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_SOURCE_DIR}/CPackProject.cmake)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_RELOCATABLE OFF)
set(CPACK_PACKAGE_NAME zeldiag)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_VENDOR "ZelDiag maintainers")
set(CPACK_PACKAGE_CONTACT "ZelDiag maintainers <maintainers@zeldiag.example>")

set(tool_summary "diagnostic tool for PCIe coprocessor cards")
set(tool_description
"ZelDiag tells whether each PCIe coprocessor card of this host can be trusted:
its cores, DMA transfers, GDDR memory, PCIe identity and link, SBOX registers
and management controller. It prints one line a test and a verdict a card.
It needs the libraries libZelAccessSDK.so and libvorl.so of the cards' vendor,
or those of the package zeldiag-simulated-platform.")

set(simulated_platform_summary "simulated PCIe coprocessor cards for ZelDiag")
set(simulated_platform_description
"zelsim makes a host with coprocessor cards out of a fleet file and runs a
command on it. Each card answers to ZelDiag as a real one does, and to ssh and
scp as a host of its own. Faults and broken memory cells can be given to it.
Nothing of such a host remains when the command has ended.")

set(card_programs_summary "programs that ZelDiag runs on a coprocessor card")
set(card_programs_description
"ZelDiag uploads these programs to a card and starts them there: vector and
cache workloads, and the card's halves of the DMA tests.")

set(companion_summary "trusted verdicts about PCIe coprocessor cards")
set(companion_description
"zelhealth runs ZelDiag on all cards of a host, one child for each card and
test, ends what hangs, takes cards back to the mode in which they were, and
answers as monitoring plugins and schedulers' health checks do. It keeps a
history, and makes reports of one host or of many.")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SOURCE zeldiag)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS openssh-client)
set(tool_recommends "${card_programs_package}, rpm")
set(simulated_platform_recommends "${tool_package}, ${card_programs_package}")
set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS ${tool_recommends})
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS ${simulated_platform_package})
set(CPACK_DEBIAN_SIMULATED_PLATFORM_PACKAGE_DEPENDS
    "busybox-static, openssh-client, openssh-server, rpm")
set(CPACK_DEBIAN_SIMULATED_PLATFORM_PACKAGE_RECOMMENDS ${simulated_platform_recommends})
set(CPACK_DEBIAN_CARD_PROGRAMS_PACKAGE_ENHANCES ${tool_package})
set(companion_recommends ${card_programs_package})
set(CPACK_DEBIAN_COMPANION_PACKAGE_DEPENDS ${tool_package})
set(CPACK_DEBIAN_COMPANION_PACKAGE_RECOMMENDS ${companion_recommends})
set(configuration /etc/ssh/ssh_config.d/zeldiag.conf /etc/zeldiag/Settings.ini)
list(JOIN configuration "\n" lines)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/conffiles "${lines}\n")
set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/conffiles)

set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_COMPRESSION_TYPE xz)
# Stripped they are, and the changes stand in the documents.
set(CPACK_RPM_SPEC_INSTALL_POST /bin/true)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/no-changelog "")
set(CPACK_RPM_CHANGELOG_FILE ${CMAKE_CURRENT_BINARY_DIR}/no-changelog)
set(CPACK_RPM_PACKAGE_LICENSE Apache-2.0)
set(CPACK_RPM_PACKAGE_GROUP System/Diagnostics)
# CPack has no setting for what is recommended: these are lines of their own behind the requirements.
set(CPACK_RPM_TOOL_PACKAGE_REQUIRES "/usr/bin/scp, /usr/bin/ssh
Recommends: ${tool_recommends}
Suggests: ${simulated_platform_package}")
set(CPACK_RPM_SIMULATED_PLATFORM_PACKAGE_REQUIRES
    "/bin/busybox, /usr/bin/rpmdb, /usr/bin/ssh-keygen, /usr/sbin/sshd
Recommends: ${simulated_platform_recommends}")
set(CPACK_RPM_COMPANION_PACKAGE_REQUIRES "${tool_package}
Recommends: ${companion_recommends}")
set(scripts ${CMAKE_CURRENT_SOURCE_DIR}/companion)
set(CPACK_DEBIAN_COMPANION_PACKAGE_CONTROL_EXTRA ${scripts}/prerm ${scripts}/postrm)
set(CPACK_RPM_COMPANION_PRE_UNINSTALL_SCRIPT_FILE ${scripts}/prerm)
set(CPACK_RPM_COMPANION_POST_UNINSTALL_SCRIPT_FILE ${scripts}/postrm)
list(TRANSFORM configuration PREPEND "%config(noreplace) " OUTPUT_VARIABLE CPACK_RPM_TOOL_USER_FILELIST)
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION /etc/ssh /etc/ssh/ssh_config.d
    /usr/lib/systemd /usr/lib/systemd/system /usr/lib/systemd/system/multi-user.target.wants
    /usr/share/bash-completion /usr/share/bash-completion/completions /usr/share/man /usr/share/man/man1
    /usr/share/man/man5 /usr/share/man/man7 /usr/share/man/man8 /usr/share/zsh /usr/share/zsh/site-functions)
# The libraries in the tool's own folders are nobody else's.
set(CPACK_RPM_SPEC_MORE_DEFINE
"%global _build_id_links none
%global __provides_exclude_from ^/usr/${ZELDIAG_TREE}/
%global __requires_exclude ^lib(Settings|PlyxDebug|ZelAccessSDK|vorl)[.]so")

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} name)
  set(CPACK_DEBIAN_${name}_PACKAGE_NAME ${${component}_package})
  set(CPACK_DEBIAN_${name}_DESCRIPTION "${${component}_summary}\n${${component}_description}")
  set(CPACK_RPM_${name}_PACKAGE_NAME ${${component}_package})
  set(CPACK_RPM_${name}_PACKAGE_SUMMARY "${${component}_summary}")
  set(CPACK_COMPONENT_${name}_DESCRIPTION "${${component}_description}")
endforeach()

set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
