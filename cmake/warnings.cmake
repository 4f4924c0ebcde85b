# Compiler warnings and sanitizers shared by every target of the project.
add_library(unitops_options INTERFACE)
target_compile_options(unitops_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                                 -Wold-style-cast -Woverloaded-virtual -Wnull-dereference)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports false -Wrestrict overlaps inside std::string at -O3 (its bug 105651).
  target_compile_options(unitops_options INTERFACE -Wno-restrict)
endif()
if(UNITOPS_WERROR)
  target_compile_options(unitops_options INTERFACE -Werror)
endif()
if(UNITOPS_SANITIZE)
  # GCC's "undefined" leaves out float-cast-overflow: a double too large for the integer it becomes.
  target_compile_options(unitops_options INTERFACE -fsanitize=address,undefined,float-cast-overflow
                                                   -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(unitops_options INTERFACE -fsanitize=address,undefined,float-cast-overflow)
endif()
