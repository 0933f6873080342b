# tinyxml2 is compiled into each program and the plug-in, from the source that
# scripts/fetch-tinyxml2 fetches. None of its symbols is then resolved in the server's process,
# which may have another version, and sanitizers cover it. It does most of the work on a message:
# link-time optimisation makes an answer a tenth cheaper. Without the source, the system's shared
# library is used.
set(tinyxml2_source ${PROJECT_SOURCE_DIR}/build/tinyxml2)
if(EXISTS ${tinyxml2_source}/tinyxml2.cpp)
  add_library(tinyxml2 STATIC ${tinyxml2_source}/tinyxml2.cpp)
  target_include_directories(tinyxml2 SYSTEM INTERFACE ${tinyxml2_source})
  # The objects also contain ordinary code, for a linker that cannot do link-time optimisation.
  target_compile_options(tinyxml2 PRIVATE
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:RelWithDebInfo>>:-O3;-flto;-ffat-lto-objects>)
  add_library(tinyxml2::tinyxml2 ALIAS tinyxml2)
else()
  find_package(tinyxml2 REQUIRED)
endif()
