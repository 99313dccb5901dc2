# A toolchain for macOS without a Mac: compiles and links what a Mac would, and runs none of it.
#
#   cmake --toolchain cmake/macos-cross.cmake -D TESSLINE_MACOS_ARCHITECTURE=x86_64 ...
#
# The SDK is made under the build folder when CMake configures, and again when what it is made from has
# changed.
set(TESSLINE_MACOS_ARCHITECTURE arm64 CACHE STRING "arm64 or x86_64")
set(TESSLINE_LIBCXX /usr/lib/llvm-16 CACHE PATH "Where libc++ 16 stands")
set(TESSLINE_MACOS_SYSROOT ${CMAKE_BINARY_DIR}/macos-sdk CACHE PATH "The SDK that is made")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
  TESSLINE_MACOS_ARCHITECTURE TESSLINE_LIBCXX TESSLINE_MACOS_SYSROOT)

get_property(is_probe GLOBAL PROPERTY IN_TRY_COMPILE)
get_property(is_made GLOBAL PROPERTY TESSLINE_MACOS_SYSROOT_IS_MADE)
if(NOT is_probe AND NOT is_made)
  execute_process(
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/../tests/apple_sdk/mach-o/make-sysroot
            ${TESSLINE_MACOS_SYSROOT} ${TESSLINE_LIBCXX} ${TESSLINE_MACOS_ARCHITECTURE}
    COMMAND_ERROR_IS_FATAL ANY)
  set_property(GLOBAL PROPERTY TESSLINE_MACOS_SYSROOT_IS_MADE TRUE)
  file(GLOB_RECURSE made_from CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/../tests/apple_sdk/mach-o/*
    ${CMAKE_CURRENT_LIST_DIR}/../tests/apple_sdk/include/*)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${made_from})
endif()

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${TESSLINE_MACOS_ARCHITECTURE})
set(CMAKE_OSX_ARCHITECTURES ${TESSLINE_MACOS_ARCHITECTURE})
set(CMAKE_OSX_DEPLOYMENT_TARGET 13.0)
set(CMAKE_OSX_SYSROOT ${TESSLINE_MACOS_SYSROOT})
find_program(TESSLINE_MACOS_COMPILER clang++-16 REQUIRED)
foreach(language CXX OBJCXX)
  set(CMAKE_${language}_COMPILER ${TESSLINE_MACOS_COMPILER})
  set(CMAKE_${language}_COMPILER_TARGET ${TESSLINE_MACOS_ARCHITECTURE}-apple-macos13.0)
  # Of musl's headers no more than POSIX and BSD; libc++ from the SDK, not from beside the compiler.
  set(CMAKE_${language}_FLAGS_INIT
    "-D_BSD_SOURCE -stdlib=libc++ --start-no-unused-arguments -nostdinc++ -cxx-isystem ${TESSLINE_MACOS_SYSROOT}/usr/include/c++/v1 --end-no-unused-arguments")
endforeach()
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld")
endforeach()
find_program(CMAKE_AR llvm-ar-16 REQUIRED)
find_program(CMAKE_RANLIB llvm-ranlib-16 REQUIRED)
find_program(CMAKE_NM llvm-nm-16 REQUIRED)
find_program(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-16 REQUIRED)
set(CMAKE_USER_MAKE_RULES_OVERRIDE_CXX ${CMAKE_CURRENT_LIST_DIR}/macos-cross-rpath.cmake)
# None of the compiler's own support for this target is there to link.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_FIND_ROOT_PATH ${TESSLINE_MACOS_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(kind LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(ENV{PKG_CONFIG_LIBDIR} ${TESSLINE_MACOS_SYSROOT}/usr/local/lib/pkgconfig)
