# The warnings for every target, all of them errors: a tolerated warning hides the next one.
add_library(pelorin_warnings INTERFACE)
target_compile_options(pelorin_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
