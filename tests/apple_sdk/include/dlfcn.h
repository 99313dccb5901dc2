/// @file
/// Stand-in for the system's header. What is compiled against it looks libraries up among those
/// that tests put there; everything else, the sanitizers too, keeps the functions of the host.
#pragma once

#define RTLD_LAZY 1
#define RTLD_NOW 2

extern "C" {

void* dlopen(const char* path, int mode) __asm__("standin_dlopen");
void* dlsym(void* handle, const char* symbol) __asm__("standin_dlsym");
int dlclose(void* handle) __asm__("standin_dlclose");

}  // extern "C"
