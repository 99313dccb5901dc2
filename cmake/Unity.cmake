# tessline_compile_together(TARGET): with TESSLINE_UNITY_BUILD, compiles many sources of a target as
# one, which takes a fraction of the time. What is local to a file must then be named once in the
# target. That every file includes what it needs is for the other builds to see.
function(tessline_compile_together target)
  set_target_properties(${target} PROPERTIES
    UNITY_BUILD ${TESSLINE_UNITY_BUILD}
    UNITY_BUILD_BATCH_SIZE 20
    UNITY_BUILD_CODE_BEFORE_INCLUDE "// NOLINTNEXTLINE(bugprone-suspicious-include)")
endfunction()

# tessline_compile_tests(TARGET): the same for tests, in every build, as reading the test framework
# takes longer than compiling a test. Batches are smaller where changes are tried.
function(tessline_compile_tests target)
  tessline_compile_together(${target})
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON)
  if(NOT TESSLINE_UNITY_BUILD)
    set_target_properties(${target} PROPERTIES UNITY_BUILD_BATCH_SIZE 8)
  endif()
endfunction()
