# The instrumented builds. Each applies to every target of the project, libraries included, so that
# the sanitizers (and libFuzzer's coverage) see the code a test or fuzz target reaches through them.
option(KYR_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(KYR_FUZZ "Fuzz build (Clang): coverage for libFuzzer, address and undefined-behaviour sanitizers" OFF)
option(KYR_TSAN "Build with the thread sanitizer" OFF)

if(KYR_FUZZ AND NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  message(FATAL_ERROR "KYR_FUZZ needs Clang (libFuzzer); use the preset 'fuzz'")
endif()
if(KYR_TSAN AND (KYR_SANITIZE OR KYR_FUZZ))
  message(FATAL_ERROR "The thread sanitizer cannot be combined with the address sanitizer")
endif()

if(KYR_SANITIZE OR KYR_FUZZ)
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
if(KYR_FUZZ)
  # Coverage feedback on every object; only the fuzz executables link libFuzzer's main (fuzz/).
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(KYR_TSAN)
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
endif()
