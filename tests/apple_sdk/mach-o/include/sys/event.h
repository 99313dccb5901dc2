/// @file
/// Stand-in for the system's header: kernel event queues, as Asio and the privileged helper use
/// them.
#pragma once

#include <stdint.h>
#include <sys/types.h>
#include <time.h>

#define EVFILT_READ (-1)
#define EVFILT_WRITE (-2)
#define EVFILT_PROC (-5)

#define EV_ADD 0x0001
#define EV_DELETE 0x0002
#define EV_ENABLE 0x0004
#define EV_ONESHOT 0x0010
#define EV_CLEAR 0x0020
#define EV_ERROR 0x4000
#define EV_EOF 0x8000
#define EV_OOBAND 0x2000

#define NOTE_EXIT 0x80000000

struct kevent {
  uintptr_t ident;
  int16_t filter;
  uint16_t flags;
  uint32_t fflags;
  intptr_t data;
  void* udata;
};

#define EV_SET(event, ident_, filter_, flags_, fflags_, data_, udata_) \
  do {                                                                 \
    struct kevent* const filled = (event);                             \
    filled->ident = (ident_);                                          \
    filled->filter = (filter_);                                        \
    filled->flags = (flags_);                                          \
    filled->fflags = (fflags_);                                        \
    filled->data = (data_);                                            \
    filled->udata = (udata_);                                          \
  } while (0)

#ifdef __cplusplus
extern "C" {
#endif

int kqueue(void);
int kevent(int queue, const struct kevent* changes, int changeCount, struct kevent* events,
           int eventCount, const struct timespec* timeout);

#ifdef __cplusplus
}
#endif
