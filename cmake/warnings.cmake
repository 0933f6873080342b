# For all targets with code of our own. All warnings are errors: among tolerated ones a new one goes
# unnoticed.
add_library(pelorin_warnings INTERFACE)
target_compile_options(pelorin_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
