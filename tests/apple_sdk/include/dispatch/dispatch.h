/// @file
/// Stand-in for the system's header: serial queues, delayed work and timers, by function pointer.
#pragma once

#include <stddef.h>
#include <stdint.h>

// Without this the system makes objects of Objective-C out of queues, where Objective-C is
// compiled. The backend is written for plain pointers, which are the same type in every file.
#if defined(__OBJC__) && (!defined(OS_OBJECT_USE_OBJC) || OS_OBJECT_USE_OBJC)
#error "Objective-C++ that uses queues is compiled with OS_OBJECT_USE_OBJC=0"
#endif

#define NSEC_PER_SEC 1000000000ull
#define NSEC_PER_MSEC 1000000ull
#define NSEC_PER_USEC 1000ull

#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)
#define DISPATCH_QUEUE_SERIAL nullptr
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)

// Pointers to queues and sources convert to pointers to objects, and to nothing else.
struct dispatch_object_s {
  dispatch_object_s() = delete;
  dispatch_object_s(const dispatch_object_s&) = delete;
  dispatch_object_s& operator=(const dispatch_object_s&) = delete;
};
struct dispatch_queue_s : public dispatch_object_s {};
struct dispatch_queue_attr_s : public dispatch_object_s {};
struct dispatch_source_s : public dispatch_object_s {};
struct dispatch_source_type_s;

typedef dispatch_object_s* dispatch_object_t;
typedef dispatch_queue_s* dispatch_queue_t;
typedef dispatch_queue_attr_s* dispatch_queue_attr_t;
typedef dispatch_source_s* dispatch_source_t;
typedef const dispatch_source_type_s* dispatch_source_type_t;
typedef uint64_t dispatch_time_t;
typedef enum : unsigned {
  QOS_CLASS_DEFAULT = 0x15,
  QOS_CLASS_UNSPECIFIED = 0x00,
} qos_class_t;
typedef void (*dispatch_function_t)(void* context);

extern "C" {

extern const dispatch_source_type_s _dispatch_source_type_timer;

void dispatch_retain(dispatch_object_t object);
void dispatch_release(dispatch_object_t object);
void dispatch_activate(dispatch_object_t object);
void dispatch_set_context(dispatch_object_t object, void* context);
void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer);

dispatch_queue_t dispatch_get_main_queue(void);
dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(dispatch_queue_attr_t attributes,
                                                              qos_class_t qos_class,
                                                              int relative_priority);
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attributes);
const char* dispatch_queue_get_label(dispatch_queue_t queue);
void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* context,
                                 dispatch_function_t destructor);
void* dispatch_get_specific(const void* key);

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context,
                      dispatch_function_t work);
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                         uintptr_t mask, dispatch_queue_t queue);
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                               uint64_t leeway);
void dispatch_source_set_event_handler_f(dispatch_source_t source, dispatch_function_t handler);
void dispatch_source_cancel(dispatch_source_t source);

}  // extern "C"
