# To know whether the system has @rpath, CMake asks the machine that it runs on for its version.
set(CMAKE_SHARED_LIBRARY_RUNTIME_C_FLAG "-Wl,-rpath,")
