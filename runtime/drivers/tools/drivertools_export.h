#ifndef DRIVERTOOLS_EXPORT_H
#define DRIVERTOOLS_EXPORT_H

// The toolkit library is built with hidden symbols; what drivers may call is
// marked with this, in C and C++ headers alike.
#if defined(__GNUC__)
#define DRIVERTOOLS_EXPORT __attribute__((visibility("default")))
#else
#define DRIVERTOOLS_EXPORT
#endif

#endif
