# TESSLINE_SANITIZERS instruments every target of the build, so that no uninstrumented part hides a bug.
if(TESSLINE_SANITIZERS)
  add_compile_options(-fsanitize=${TESSLINE_SANITIZERS} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${TESSLINE_SANITIZERS})
endif()
