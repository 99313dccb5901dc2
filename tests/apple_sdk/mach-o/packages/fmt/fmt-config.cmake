# fmt without its library, whose names differ between standard libraries.
foreach(name fmt fmt-header-only)
  if(NOT TARGET fmt::${name})
    add_library(fmt::${name} INTERFACE IMPORTED)
    target_compile_definitions(fmt::${name} INTERFACE FMT_HEADER_ONLY=1)
  endif()
endforeach()
