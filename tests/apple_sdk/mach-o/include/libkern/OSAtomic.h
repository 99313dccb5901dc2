/// @file
/// Stand-in for the system's header: the one barrier that Asio asks for.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

void OSMemoryBarrier(void);

#ifdef __cplusplus
}
#endif
