# TESSLINE_SANITIZERS instruments every target of the build, so that no uninstrumented part hides a bug.
if(TESSLINE_SANITIZERS)
  add_compile_options(-fsanitize=${TESSLINE_SANITIZERS} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TESSLINE_SANITIZERS})
endif()

if(TESSLINE_BUILD_FUZZERS AND NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  message(FATAL_ERROR "TESSLINE_BUILD_FUZZERS needs clang, which brings libFuzzer")
endif()

# tessline_guide_fuzzers(TARGET): lets libFuzzer see where an input gets to in it.
function(tessline_guide_fuzzers target)
  if(TESSLINE_BUILD_FUZZERS)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
  endif()
endfunction()
