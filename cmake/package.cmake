# What `cmake --install` puts where, and the Debian package made from it.
include(GNUInstallDirs)

install(TARGETS pelorin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/pelorin)
install(FILES package/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
# The documents, and the few sources that they link to, lie as here, so that all links hold.
file(GLOB documents RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS *.md docs/*.md
  docs/*.svg)
set(documentation ${documents})
foreach(document IN LISTS documents)
  file(READ ${document} text)
  string(REGEX MATCHALL "\\(\\.\\./[^)#]+" links "${text}")
  list(TRANSFORM links REPLACE "^\\(\\.\\./" "")
  list(APPEND documentation ${links})
endforeach()
list(REMOVE_DUPLICATES documentation)
foreach(document IN LISTS documentation)
  get_filename_component(folder ${document} DIRECTORY)
  install(FILES ${document} DESTINATION ${CMAKE_INSTALL_DOCDIR}/${folder})
endforeach()

# pelorin_compress(FILE INPUT): makes INPUT.gz, named FILE.gz, in the build folder.
function(pelorin_compress name input)
  add_custom_command(OUTPUT ${name}.gz
    COMMAND gzip -9nc < ${input} > ${name}.gz
    DEPENDS ${input} VERBATIM)
endfunction()

pelorin_compress(changelog ${PROJECT_SOURCE_DIR}/package/changelog)
set(compressed ${PROJECT_BINARY_DIR}/changelog.gz)
install(FILES ${compressed} DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(TARGETS pelorin-host pelorin-probe)
find_program(SCDOC scdoc DOC "makes the manual pages; without it there are none")
if(SCDOC)
  foreach(page IN ITEMS pelorin-host.1 pelorin-probe.1)
    set(source ${PROJECT_SOURCE_DIR}/man/${page}.scd)
    add_custom_command(OUTPUT ${page}
      COMMAND ${SCDOC} < ${source} > ${page}
      DEPENDS ${source} VERBATIM)
    pelorin_compress(${page} ${PROJECT_BINARY_DIR}/${page})
    list(APPEND compressed ${PROJECT_BINARY_DIR}/${page}.gz)
    install(FILES ${PROJECT_BINARY_DIR}/${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  endforeach()
endif()
add_custom_target(pelorin_documents ALL DEPENDS ${compressed})

# The version is the one that the plug-in registers with; scripts/test-package compares them.
file(STRINGS package/changelog headline LIMIT_COUNT 1)
string(REGEX MATCH "[0-9.]+" CPACK_PACKAGE_VERSION "${headline}")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME pelorin)
set(CPACK_PACKAGE_CONTACT "Pelorin developers <pelorin@ktzkx.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Pelorin announces a network video recorder on every IPv4 network that it is
connected to and answers whoever looks for one there, so that people find it
without knowing its address. The recorder's server loads it as pelorin.so.
.
Two tools come with it: pelorin-host runs the plug-in without a server, and
pelorin-probe lists the recorders of a network.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
