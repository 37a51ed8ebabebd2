set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

# -Wshadow and -Wconversion are left out: they speak mostly of code that is right.
add_compile_options(-Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2)
if(VELU_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

# Two warnings that gcc 12 gives for right code once it optimises: reads of a std::optional as uninitialised, and
# std::string's operator+ as overlapping copies.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  add_compile_options(-Wno-maybe-uninitialized -Wno-restrict)
endif()

if(VELU_SANITIZE)
  # Recovering would let a test pass that has found a fault.
  add_compile_options(-fsanitize=${VELU_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1 -O1)
  add_link_options(-fsanitize=${VELU_SANITIZE})
endif()
if(VELU_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
