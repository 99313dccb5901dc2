# tessline_compile_together(TARGET): with TESSLINE_UNITY_BUILD, compiles many sources of a target as
# one, which takes a fraction of the time. What is local to a file must then be named once in the
# target. That every file includes what it needs is for the other builds to see.
function(tessline_compile_together target)
  if(TESSLINE_UNITY_BUILD)
    tessline_compile_batches(${target} 20)
  endif()
endfunction()

# tessline_compile_batches(TARGET COUNT): compiles up to COUNT sources as one.
function(tessline_compile_batches target count)
  set_target_properties(${target} PROPERTIES
    UNITY_BUILD ON
    UNITY_BUILD_BATCH_SIZE ${count}
    UNITY_BUILD_CODE_BEFORE_INCLUDE "// NOLINTNEXTLINE(bugprone-suspicious-include)")
endfunction()
