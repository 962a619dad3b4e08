# Warnings are errors in all of our own code; the sanitizers are a switch of the whole build.
add_library(veltrane_warnings INTERFACE)
target_compile_options(veltrane_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
# GCC 12 sees dangling pointers and overreads in inlined library code where there are none.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(veltrane_warnings INTERFACE -Wno-dangling-pointer -Wno-stringop-overread)
endif()

if(VELTRANE_SANITIZE)
  # Not vptr: that check opens descriptors of its own and fails where a test has used them up.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=undefined -fno-omit-frame-pointer
                      -O1 -g1)
  add_link_options(-fsanitize=address,undefined)
endif()

if(VELTRANE_FUZZ)
  # The fuzzer follows which way each input takes.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
