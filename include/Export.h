#ifndef RTIQNUTIL_EXPORT_H
#define RTIQNUTIL_EXPORT_H

/// @file
/// Marks for the compiler.

/// What a program that links the shared library may use; everything else of the library stays
/// hidden.
#define DT_EXPORT __attribute__((visibility("default")))

/// Lets the compiler check a printf-style call; it is given the 1-based positions of the format
/// and of the first argument (`this` counts).
#define DT_PRINTF(formatPosition, firstPosition) \
    __attribute__((format(printf, formatPosition, firstPosition)))

#endif
