# tinyxml2 is built into whatever uses it, from the source that scripts/fetch-tinyxml2 brings. Nothing
# of it is then looked up in the server's process, which may have another edition, and a sanitizer sees
# into it. Most of the work on a message is done in it: optimised as a whole, with calls that are bound
# at build time, it makes an answer a tenth cheaper. Without the source the system's shared library does.
set(tinyxml2_source ${PROJECT_SOURCE_DIR}/build/tinyxml2)
if(EXISTS ${tinyxml2_source}/tinyxml2.cpp)
  add_library(tinyxml2 STATIC ${tinyxml2_source}/tinyxml2.cpp)
  target_include_directories(tinyxml2 SYSTEM INTERFACE ${tinyxml2_source})
  # Fat, so that a linker which cannot read the rest takes it for an ordinary library.
  target_compile_options(tinyxml2 PRIVATE
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:RelWithDebInfo>>:-O3;-flto;-ffat-lto-objects>)
  add_library(tinyxml2::tinyxml2 ALIAS tinyxml2)
else()
  find_package(tinyxml2 REQUIRED)
endif()
