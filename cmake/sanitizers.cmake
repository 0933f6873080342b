# PELORIN_SANITIZE is a list for -fsanitize= ("thread", "address,undefined"). Presets set it. It
# applies to all targets, tests and tools too: a sanitizer checks only code that is compiled for it.
set(PELORIN_SANITIZE "" CACHE STRING "value for -fsanitize=, empty for none")
if(PELORIN_SANITIZE)
  add_compile_options(-fsanitize=${PELORIN_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${PELORIN_SANITIZE})
  if(PELORIN_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Asio's headers use atomic fences. g++ warns that ThreadSanitizer does not support these, and
    # all warnings are errors.
    add_compile_options(-Wno-tsan)
  endif()
endif()
