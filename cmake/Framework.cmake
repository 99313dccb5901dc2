# Makes Tessline.framework of the target tessline. Headers keep their folders, so that a client that
# searches Tessline.framework/Headers writes #include "tessline/..." as everywhere.
set_target_properties(tessline PROPERTIES
  FRAMEWORK TRUE
  FRAMEWORK_VERSION A
  OUTPUT_NAME Tessline
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  MACOSX_RPATH TRUE
  MACOSX_FRAMEWORK_IDENTIFIER com.morvane.Tessline
  MACOSX_FRAMEWORK_BUNDLE_VERSION ${PROJECT_VERSION}
  MACOSX_FRAMEWORK_SHORT_VERSION_STRING ${PROJECT_VERSION}
  MACOSX_FRAMEWORK_INFO_PLIST ${PROJECT_SOURCE_DIR}/cmake/Framework-Info.plist.in)

# Queues are plain pointers in every language, and objects of Objective-C are counted by the compiler.
target_compile_options(tessline PRIVATE
  $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc> $<$<COMPILE_LANGUAGE:OBJCXX>:-DOS_OBJECT_USE_OBJC=0>)

# The multitouch framework is private: it is looked up when the program runs, never linked.
foreach(framework
    AppKit ApplicationServices CoreBluetooth CoreFoundation CoreGraphics Foundation IOKit)
  target_link_libraries(tessline PRIVATE "-framework ${framework}")
endforeach()
target_link_libraries(tessline PRIVATE objc)

# What backends are made of is not for clients.
file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR} *.h)
list(FILTER headers EXCLUDE REGEX "^platform/(linux|macos|posix)/")
foreach(header IN LISTS headers)
  cmake_path(GET header PARENT_PATH folder)
  set_source_files_properties(${header} PROPERTIES
    MACOSX_PACKAGE_LOCATION Headers/tessline/${folder})
endforeach()
set(module_map ${PROJECT_SOURCE_DIR}/cmake/module.modulemap)
set_source_files_properties(${module_map} PROPERTIES MACOSX_PACKAGE_LOCATION Modules)
target_sources(tessline PRIVATE ${headers} ${module_map})
# Of the links beside Versions, the one that CMake does not make.
add_custom_command(TARGET tessline POST_BUILD VERBATIM
  COMMAND ${CMAKE_COMMAND} -E create_symlink
          Versions/Current/Modules $<TARGET_BUNDLE_DIR:tessline>/Modules)
