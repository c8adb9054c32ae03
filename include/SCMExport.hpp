#pragma once

// The library is built with hidden symbols; SCM_EXPORT marks what it exports.
#if defined(SHARED_CODE_MANAGER_BUILDING)
#define SCM_EXPORT __attribute__((visibility("default")))
#else
#define SCM_EXPORT
#endif
