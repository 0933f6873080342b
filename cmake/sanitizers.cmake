# PELORIN_SANITIZE takes a -fsanitize= list ("thread", "address,undefined"); the presets set it.
# It holds for everything, tests and tools included: a sanitizer sees only what it has compiled.
set(PELORIN_SANITIZE "" CACHE STRING "value for -fsanitize=, empty for none")
if(PELORIN_SANITIZE)
  add_compile_options(-fsanitize=${PELORIN_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${PELORIN_SANITIZE})
  if(PELORIN_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Asio's headers use stand-alone fences, which g++ says the sanitizer does not model.
    add_compile_options(-Wno-tsan)
  endif()
endif()
