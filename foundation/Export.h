#pragma once
/// @file
/// Symbol visibility of the shared library.
///
/// The library is compiled with hidden symbols; WEBSTEP_API marks the classes,
/// functions and static data that programs built against libwebstep may use.
/// On a class it exports every member, the virtual table and the type
/// information, so such classes can be derived from and caught by type in
/// user code. Programs that link the static library see the same macro; for
/// them it changes nothing.

#if defined(__GNUC__) || defined(__clang__)
#define WEBSTEP_API __attribute__((visibility("default")))
#else
#define WEBSTEP_API
#endif
