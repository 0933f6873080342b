# PELORIN_SANITIZE is a list for -fsanitize= ("thread", "address,undefined"), set by presets. It
# applies to all targets: a sanitizer checks only code that is compiled for it.
set(PELORIN_SANITIZE "" CACHE STRING "value for -fsanitize=, empty for none")
if(PELORIN_SANITIZE)
  add_compile_options(-fsanitize=${PELORIN_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${PELORIN_SANITIZE})
  if(PELORIN_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ warns that ThreadSanitizer does not support the atomic fences in Asio's headers.
    add_compile_options(-Wno-tsan)
  endif()
endif()
