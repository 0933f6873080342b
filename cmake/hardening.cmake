# What keeps a fault in this code from becoming somebody's way in: the plug-in reads what anybody on
# the network sends, inside the server. It holds for everything, tests included, so that these run
# what is delivered; scripts/check-hardening reads it off the files again. Of no use under a
# sanitizer, which sees more.
include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

# Executables are laid out anew at each start, as libraries are.
check_pie_supported(LANGUAGES CXX)

if(NOT PELORIN_SANITIZE)
  # Not every compiler and processor knows them all.
  foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
      add_compile_options(${flag})
    endif()
  endforeach()

  # The C library's checks need an optimising build; level 3 not every edition of it has.
  set(CMAKE_REQUIRED_FLAGS "-O2 -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3")
  check_cxx_source_compiles("#include <cstdio>\nint main() {}" HAS_FORTIFY_3)
  unset(CMAKE_REQUIRED_FLAGS)
  set(level $<IF:$<BOOL:${HAS_FORTIFY_3}>,3,2>)
  add_compile_options(
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${level}>")
endif()

# Tables of addresses are read-only before the first call, no page is both writable and code.
foreach(word IN ITEMS relro now noexecstack text separate-code)
  string(MAKE_C_IDENTIFIER "HAS-z-${word}" has)
  check_linker_flag(CXX -Wl,-z,${word} ${has})
  if(${has})
    add_link_options(-Wl,-z,${word})
  endif()
endforeach()
