#ifndef THREADCHECK_H
#define THREADCHECK_H

// Tells ThreadSanitizer of a hand-over it cannot see: one made inside
// Debian's gRPC, which is not built for it. Nothing in any other build.
#if defined(__SANITIZE_THREAD__)
#include <sanitizer/tsan_interface.h>
#define HARVEL_HANDED_OVER(addr) __tsan_release(const_cast<void*>(static_cast<const void*>(addr)))
#define HARVEL_TAKEN_OVER(addr) __tsan_acquire(const_cast<void*>(static_cast<const void*>(addr)))
#else
#define HARVEL_HANDED_OVER(addr) ((void)0)
#define HARVEL_TAKEN_OVER(addr) ((void)0)
#endif

#endif
