// What a shared library shows to programs.
#ifndef QX_PHOTO_BASE_VISIBILITY_H
#define QX_PHOTO_BASE_VISIBILITY_H

#if defined(__GNUC__)
#define QX_PHOTO_API __attribute__((visibility("default")))
#else
#define QX_PHOTO_API
#endif

#endif  // QX_PHOTO_BASE_VISIBILITY_H
