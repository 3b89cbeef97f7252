// Says in the code which lock guards what and who must hold it; clang checks it (-Wthread-safety), for other compilers it is
// nothing. A capability is a lock; a guard object that holds one for its own lifetime is a scoped capability.
#pragma once

#if defined(__clang__)
#define MEDIADATA_THREAD_SAFETY(x) __attribute__((x))
#else
#define MEDIADATA_THREAD_SAFETY(x)
#endif

// Classes: a lock (`name` is what the compiler calls it: "mutex"), and a guard object.
#define MEDIADATA_CAPABILITY(name) MEDIADATA_THREAD_SAFETY(capability(name))
#define MEDIADATA_SCOPED_CAPABILITY MEDIADATA_THREAD_SAFETY(scoped_lockable)

// Members: touched with the lock held; of a pointer, what it points to.
#define MEDIADATA_GUARDED_BY(lock) MEDIADATA_THREAD_SAFETY(guarded_by(lock))
#define MEDIADATA_PT_GUARDED_BY(lock) MEDIADATA_THREAD_SAFETY(pt_guarded_by(lock))

// Functions: the caller holds the locks, or must not hold them.
#define MEDIADATA_REQUIRES(...) MEDIADATA_THREAD_SAFETY(requires_capability(__VA_ARGS__))
#define MEDIADATA_EXCLUDES(...) MEDIADATA_THREAD_SAFETY(locks_excluded(__VA_ARGS__))

// Functions of locks and guards: they take, give, or take when they answer the value named first.
#define MEDIADATA_ACQUIRE(...) MEDIADATA_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define MEDIADATA_RELEASE(...) MEDIADATA_THREAD_SAFETY(release_capability(__VA_ARGS__))
#define MEDIADATA_TRY_ACQUIRE(...) MEDIADATA_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))

// Functions that answer a lock, that tell the compiler that it is held, and whose body the compiler cannot follow (a comment
// there says why it is right).
#define MEDIADATA_RETURN_CAPABILITY(lock) MEDIADATA_THREAD_SAFETY(lock_returned(lock))
#define MEDIADATA_ASSERT_CAPABILITY(...) MEDIADATA_THREAD_SAFETY(assert_capability(__VA_ARGS__))
#define MEDIADATA_NO_THREAD_SAFETY_ANALYSIS MEDIADATA_THREAD_SAFETY(no_thread_safety_analysis)
