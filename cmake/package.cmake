# Defines what `cmake --install` installs, and two Debian packages of it: pelorin (component
# "runtime") for the machine of a recorder or a client, pelorin-dev (component "dev") for the
# developers of servers.
include(GNUInstallDirs)

set(tools pelorin-doctor pelorin-host pelorin-probe)

# pelorin_compress(NAME INPUT): compresses the file INPUT to NAME.gz in the build folder.
function(pelorin_compress name input)
  add_custom_command(OUTPUT ${name}.gz
    COMMAND gzip -9nc < ${input} > ${name}.gz
    DEPENDS ${input} VERBATIM)
endfunction()

# pelorin_install_documents(COMPONENT PACKAGE PAGE): installs the changelog, the copyright and a
# page of docs/. In the page, links to other files become plain text: their relative paths are wrong
# once installed.
function(pelorin_install_documents component package page)
  set(source ${PROJECT_SOURCE_DIR}/docs/${page})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
  file(READ ${source} text)
  string(REGEX REPLACE "\\[([^][]+)\\]\\([^():#][^():]*\\)" "\\1" text "${text}")
  file(WRITE ${PROJECT_BINARY_DIR}/${page} "${text}")
  install(
    FILES ${PROJECT_BINARY_DIR}/${page} package/copyright ${PROJECT_BINARY_DIR}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endfunction()

pelorin_compress(changelog ${PROJECT_SOURCE_DIR}/package/changelog)
set(documents ${PROJECT_BINARY_DIR}/changelog.gz)

install(TARGETS pelorin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/pelorin COMPONENT runtime)
install(TARGETS ${tools} RUNTIME COMPONENT runtime)
pelorin_install_documents(runtime pelorin operations.md)
foreach(tool IN LISTS tools)
  install(FILES package/completions/pelorin RENAME ${tool} COMPONENT runtime
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endforeach()
find_program(SCDOC scdoc DOC "makes the manual pages; without it there are none")
if(SCDOC)
  foreach(tool IN LISTS tools)
    set(page ${tool}.1)
    set(source ${PROJECT_SOURCE_DIR}/man/${page}.scd)
    add_custom_command(OUTPUT ${page}
      COMMAND ${SCDOC} < ${source} > ${page}
      DEPENDS ${source} VERBATIM)
    pelorin_compress(${page} ${PROJECT_BINARY_DIR}/${page})
    list(APPEND documents ${PROJECT_BINARY_DIR}/${page}.gz)
    install(FILES ${PROJECT_BINARY_DIR}/${page}.gz
      DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime)
  endforeach()
endif()
add_custom_target(pelorin_documents ALL DEPENDS ${documents})

install(FILES include/pelorin/plugin.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/pelorin COMPONENT dev)
install(FILES examples/host.c examples/host.py
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/pelorin-dev/examples COMPONENT dev)
pelorin_install_documents(dev pelorin-dev host-interface.md)

# The packages' version, from the first entry of package/changelog, must be the version with which
# the plug-in registers at the host; scripts/test-package checks that.
file(STRINGS package/changelog headline LIMIT_COUNT 1)
string(REGEX MATCH "[0-9.]+" CPACK_PACKAGE_VERSION "${headline}")
configure_file(package/pelorin.pc.in pelorin.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/pelorin.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# Builds only what the packages contain.
add_custom_target(pelorin_packaged DEPENDS pelorin ${tools} pelorin_documents)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_PACKAGE_CONTACT "Pelorin developers <pelorin@ktzkx.example>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Empty: otherwise CPack puts the project's description before those below, which already begin with
# a summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME pelorin)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION net)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"${PROJECT_DESCRIPTION}
Pelorin announces a network video recorder on every IPv4 network that it is
connected to and answers clients that look for one there, so that people find
it without knowing its address. The recorder's server loads it as pelorin.so.
.
Three tools come with it: pelorin-host runs the plug-in without a server,
pelorin-probe lists the recorders of a network, and pelorin-doctor finds out
why a recorder is not found.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME pelorin-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "pelorin (= ${CPACK_PACKAGE_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "pkg-config, python3")
set(CPACK_DEBIAN_DEV_DESCRIPTION
"Network-discovery plug-in of a network video recorder server: development files
Pelorin announces a network video recorder on every IPv4 network that it is
connected to and answers clients that look for one there.
.
This package is for developers of a server that loads the plug-in: the C header
of its interface, a page that explains it, and example hosts in C and Python.")
include(CPack)
