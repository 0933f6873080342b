# Writes a source file with the version of the package and, if git knows it, the commit. Each build
# runs this script, because CMake does not notice a new commit.
#
#   cmake -D SOURCE=<folder> -D INPUT=<template> -D OUTPUT=<file> -P version.cmake
file(STRINGS ${SOURCE}/package/changelog headline LIMIT_COUNT 1)
string(REGEX MATCH "[0-9.]+" version_text "${headline}")
# Without this check, sources copied into another project's repository would get its commit.
if(EXISTS ${SOURCE}/.git)
  execute_process(COMMAND git -C ${SOURCE} describe --always --exclude=* --abbrev=12 --dirty
    OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(commit)
  string(APPEND version_text " (commit ${commit})")
endif()
configure_file(${INPUT} ${OUTPUT} @ONLY) # does not touch an unchanged file: nothing is compiled
