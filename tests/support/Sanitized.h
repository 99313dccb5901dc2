/// @file
/// Whether AddressSanitizer or ThreadSanitizer is at work, which make everything slower and need
/// memory and descriptors of their own.
#pragma once

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TESSLINE_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TESSLINE_SANITIZED 1
#endif
#endif
#ifndef TESSLINE_SANITIZED
#define TESSLINE_SANITIZED 0
#endif
