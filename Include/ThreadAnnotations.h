// Names for clang's thread-safety attributes, so that the compiler checks which lock guards
// which member. Under another compiler they expand to nothing.
#pragma once

#if defined(__clang__)
#define VX_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define VX_THREAD_ATTRIBUTE(x)
#endif

#define VX_CAPABILITY(name) VX_THREAD_ATTRIBUTE(capability(name))
#define VX_SCOPED_CAPABILITY VX_THREAD_ATTRIBUTE(scoped_lockable)
#define VX_GUARDED_BY(lock) VX_THREAD_ATTRIBUTE(guarded_by(lock))
#define VX_PT_GUARDED_BY(lock) VX_THREAD_ATTRIBUTE(pt_guarded_by(lock))
#define VX_ACQUIRE(...) VX_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define VX_RELEASE(...) VX_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define VX_REQUIRES(...) VX_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define VX_EXCLUDES(...) VX_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define VX_NO_THREAD_SAFETY_ANALYSIS VX_THREAD_ATTRIBUTE(no_thread_safety_analysis)
