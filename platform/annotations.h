// Lock annotations that clang's -Wthread-safety checks; other compilers see nothing.
#ifndef BRENHOLT_PLATFORM_ANNOTATIONS_H
#define BRENHOLT_PLATFORM_ANNOTATIONS_H

#if defined(__clang__)
#define BRENHOLT_ANNOTATE(x) __attribute__((x))
#else
#define BRENHOLT_ANNOTATE(x)
#endif

#define CAPABILITY(name) BRENHOLT_ANNOTATE(capability(name))
#define SCOPED_CAPABILITY BRENHOLT_ANNOTATE(scoped_lockable)
#define GUARDED_BY(lock) BRENHOLT_ANNOTATE(guarded_by(lock))
#define ACQUIRE(...) BRENHOLT_ANNOTATE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) BRENHOLT_ANNOTATE(release_capability(__VA_ARGS__))
#define NO_THREAD_SAFETY_ANALYSIS BRENHOLT_ANNOTATE(no_thread_safety_analysis)

#endif
