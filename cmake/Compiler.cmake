set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

# -Wshadow and -Wconversion are left out: most of their warnings are about correct code.
add_compile_options(-Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wformat=2)
if(VELU_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()

# gcc 12 gives two false warnings in optimised code: about reading a std::optional that isn't initialised, and about
# overlapping copies in std::string's operator+.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  add_compile_options(-Wno-maybe-uninitialized -Wno-restrict)
endif()

if(VELU_SANITIZE)
  # Without -fno-sanitize-recover a test passes although the sanitizer has reported an error.
  add_compile_options(-fsanitize=${VELU_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1 -O1)
  add_link_options(-fsanitize=${VELU_SANITIZE})
endif()
if(VELU_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
