# Compiler and linker flags that make a fault harder to exploit: the plug-in runs inside the server
# and reads what any machine on the network sends. The tests get them too, to run what is delivered.
# scripts/check-hardening checks the built files. A build with a sanitizer does not get the
# compiler's flags: _FORTIFY_SOURCE could hide faults from it.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

# Lets CMake link executables with -pie, so that they are loaded at a random address.
check_pie_supported(LANGUAGES CXX)

if(NOT PELORIN_SANITIZE)
  # A compiler may only warn about a flag that it does not support on this processor. With -Werror
  # the check then fails, and the flag is left out.
  set(CMAKE_REQUIRED_FLAGS -Werror)
  foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection
      -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
      add_compile_options(${flag})
    endif()
  endforeach()

  # _FORTIFY_SOURCE, the C library's checks of buffer sizes, works only in an optimised build. Older
  # compilers and C libraries do not support its level 3.
  set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("#include <cstdio>\nint main() {}" HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  set(level $<IF:$<BOOL:${HAS_FORTIFY_3}>,3,2>)
  add_compile_options(
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${level}>")
endif()

# relro and now: tables of addresses are read-only before any of our code runs. noexecstack and
# text: no page is both writable and executable. separate-code: code shares no page with data.
foreach(word IN ITEMS relro now noexecstack text separate-code)
  string(MAKE_C_IDENTIFIER "HAS-z-${word}" has)
  check_linker_flag(CXX -Wl,-z,${word} ${has})
  if(${has})
    add_link_options(-Wl,-z,${word})
  endif()
endforeach()
