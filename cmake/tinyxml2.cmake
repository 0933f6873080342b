# tinyxml2 is compiled into the plug-in and into each program that uses it, from the source that
# scripts/fetch-tinyxml2 downloads: the plug-in must not call the server's tinyxml2, which may be
# another version; the sanitizers check tinyxml2 too; with g++ the flags below make an answer of the
# plug-in a tenth cheaper. Without the source, the system's shared library is used.
set(tinyxml2_source ${PROJECT_SOURCE_DIR}/build/tinyxml2)
if(EXISTS ${tinyxml2_source}/tinyxml2.cpp)
  add_library(tinyxml2 STATIC ${tinyxml2_source}/tinyxml2.cpp)
  target_include_directories(tinyxml2 SYSTEM INTERFACE ${tinyxml2_source})
  # -ffat-lto-objects: for a linker that cannot do link-time optimisation.
  target_compile_options(tinyxml2 PRIVATE
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:RelWithDebInfo>>:-O3;-flto;-ffat-lto-objects>)
  add_library(tinyxml2::tinyxml2 ALIAS tinyxml2)
else()
  find_package(tinyxml2 REQUIRED)
endif()
