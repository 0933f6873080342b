# Makes a fault in this code harder to exploit: the plug-in reads what any machine on the network
# sends, inside the server. The flags apply to everything, tests included, so that the tests run
# what is delivered; scripts/check-hardening checks the built files. A build with a sanitizer, which
# detects more, leaves out the compiler's flags.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

# Executables are loaded at a random address, as libraries are.
check_pie_supported(LANGUAGES CXX)

if(NOT PELORIN_SANITIZE)
  # A compiler may only warn of a flag that it does not support on this processor. The warning would
  # break the build later, so it is an error in this check.
  set(CMAKE_REQUIRED_FLAGS -Werror)
  foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection
      -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
      add_compile_options(${flag})
    endif()
  endforeach()

  # The C library's checks of buffer sizes need an optimising build. Older versions lack level 3.
  set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("#include <cstdio>\nint main() {}" HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  set(level $<IF:$<BOOL:${HAS_FORTIFY_3}>,3,2>)
  add_compile_options(
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${level}>")
endif()

# Tables of addresses are read-only before the first call; no page is both writable and executable.
foreach(word IN ITEMS relro now noexecstack text separate-code)
  string(MAKE_C_IDENTIFIER "HAS-z-${word}" has)
  check_linker_flag(CXX -Wl,-z,${word} ${has})
  if(${has})
    add_link_options(-Wl,-z,${word})
  endif()
endforeach()
