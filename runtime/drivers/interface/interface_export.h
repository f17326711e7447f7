#ifndef INTERFACE_EXPORT_H
#define INTERFACE_EXPORT_H

// Host and drivers are built with hidden symbols; the interface classes keep one
// identity (vtable layout, type information) on both sides of the plug-in boundary.
#if defined(__GNUC__)
#define DRIVER_INTERFACE_EXPORT __attribute__((visibility("default")))
#else
#define DRIVER_INTERFACE_EXPORT
#endif

#endif
