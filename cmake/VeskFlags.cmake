# Warning and sanitizer flags shared by every target of the project.
add_library(vesk_flags INTERFACE)
target_compile_options(vesk_flags INTERFACE -Wall -Wextra)

if(VESK_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(VESK_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(VESK_SANITIZE STREQUAL "fuzzer")
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(NOT VESK_SANITIZE STREQUAL "")
  message(FATAL_ERROR "VESK_SANITIZE must be address, thread, fuzzer or empty")
endif()

# A shared library exports exactly the symbols its version script names and,
# in a build without sanitizers (whose runtimes come with the executable),
# must resolve every symbol it uses itself.
function(vesk_export_list target map)
  get_target_property(type ${target} TYPE)
  if(NOT type STREQUAL "SHARED_LIBRARY" OR NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
    return()
  endif()
  target_link_options(${target} PRIVATE "-Wl,--version-script=${map}")
  if(VESK_SANITIZE STREQUAL "")
    target_link_options(${target} PRIVATE "-Wl,--no-undefined")
  endif()
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${map})
endfunction()

# Line and branch counts for gcovr: every target instrumented, nothing optimised away.
if(VESK_COVERAGE)
  # Atomic counters: the stress tests run many threads through the same code.
  add_compile_options(--coverage -O0 -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
