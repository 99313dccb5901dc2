# tessline_warnings: what the project's own code is compiled with. Linked privately, so that it never
# reaches a user's build.
add_library(tessline_warnings INTERFACE)
target_compile_options(tessline_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-align
  -Wnon-virtual-dtor -Woverloaded-virtual -Wimplicit-fallthrough -Wswitch
  # What is local to one file hides nothing of another's that is compiled with it.
  $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow=local>
  $<$<BOOL:${TESSLINE_WARNINGS_AS_ERRORS}>:-Werror>
  # Clang looks for unused constants by itself, but not in sources that are compiled together.
  # GCC 12 takes "text" + std::string() for an overlapping copy.
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op -Wunused-const-variable -Wno-restrict>
  $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wthread-safety>)
