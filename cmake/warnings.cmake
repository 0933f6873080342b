# One list of warnings for every target, all of them errors: a warning that may stay hides the next.
add_library(pelorin_warnings INTERFACE)
target_compile_options(pelorin_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
