/// @file
/// Stand-in for the system's header. There the main queue is an object, and what hands it out is
/// inline.
#pragma once

#define dispatch_get_main_queue standin_get_main_queue
#include <underneath/dispatch/dispatch.h>
#undef dispatch_get_main_queue

extern "C" dispatch_queue_s _dispatch_main_q;

inline dispatch_queue_t dispatch_get_main_queue(void) {
  return &_dispatch_main_q;
}
