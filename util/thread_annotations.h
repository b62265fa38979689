/// What clang++ checks with -Wthread-safety: which lock guards what, and where it must be held. To
/// other compilers it says nothing. Source: "Thread Safety Analysis" in clang's documentation.
#pragma once

#ifdef __clang__
#define KORVA_THREAD_ANNOTATION(attribute) __attribute__((attribute))
#else
#define KORVA_THREAD_ANNOTATION(attribute)
#endif

/// A class of locks, and one whose objects hold a lock for as long as they live.
#define KORVA_CAPABILITY KORVA_THREAD_ANNOTATION(capability("mutex"))
#define KORVA_SCOPED_CAPABILITY KORVA_THREAD_ANNOTATION(scoped_lockable)

/// Read and written with the lock held only.
#define KORVA_GUARDED_BY(lock) KORVA_THREAD_ANNOTATION(guarded_by(lock))

/// Called with the lock held; takes it, or gives it up. Without an argument: the object itself.
#define KORVA_REQUIRES(lock) KORVA_THREAD_ANNOTATION(requires_capability(lock))
#define KORVA_ACQUIRE(...) KORVA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define KORVA_RELEASE(...) KORVA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))

/// For what the analysis cannot follow; a comment says why it is right.
#define KORVA_NO_THREAD_SAFETY_ANALYSIS KORVA_THREAD_ANNOTATION(no_thread_safety_analysis)
