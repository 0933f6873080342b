# Writes the version of the package, and the commit if git knows it, into a source file. A script
# that each build runs, since the commit changes without CMake noticing.
#
#   cmake -D SOURCE=<folder> -D INPUT=<template> -D OUTPUT=<file> -P version.cmake
file(STRINGS ${SOURCE}/package/changelog headline LIMIT_COUNT 1)
string(REGEX MATCH "[0-9.]+" version_text "${headline}")
# A copy of the sources inside another project's repository must not get that project's commit.
if(EXISTS ${SOURCE}/.git)
  execute_process(COMMAND git -C ${SOURCE} describe --always --exclude=* --abbrev=12 --dirty
    OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(commit)
  string(APPEND version_text " (commit ${commit})")
endif()
configure_file(${INPUT} ${OUTPUT} @ONLY) # writes the file only if it changes
