# PELORIN_SANITIZE takes a -fsanitize= list ("thread", "address,undefined"); the presets set it.
# It applies to everything, tests and tools included: a sanitizer checks only code compiled with it.
set(PELORIN_SANITIZE "" CACHE STRING "value for -fsanitize=, empty for none")
if(PELORIN_SANITIZE)
  add_compile_options(-fsanitize=${PELORIN_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${PELORIN_SANITIZE})
  if(PELORIN_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Asio's headers use atomic fences; g++ warns that the sanitizer does not model them.
    add_compile_options(-Wno-tsan)
  endif()
endif()
