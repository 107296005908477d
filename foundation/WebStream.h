#pragma once
// A growable in-memory byte stream handed around as an opaque handle:
// append-only writes, reads at a position that the caller keeps, the size,
// and a contiguous view of the whole content between Map and Unmap.
//
// On Linux the handle points at a private heap stream object instead of a
// COM stream over global memory. A mapped view stays valid until its Unmap,
// even when later writes move the stream's content (the old block is kept
// alive for the view, which then no longer shows the new bytes) or when the
// stream is destroyed first. Map of an empty stream gives null, like locking
// a zero-sized global block. Streams may be used from several threads, but
// one stream by one thread at a time.
#include "webstep/foundation/Export.h"

/// The stream's interface type; opaque on this platform.
struct IStream;

/// Static functions over stream handles: Create gives a handle (null on
/// failure) that the caller releases with Destroy; every other call on a null
/// handle fails (false or 0). A view from Map is released with Unmap.
class WEBSTEP_API CWebStream {
public:
    CWebStream& operator=(const CWebStream&) { return *this; }

    /// A new empty stream; the name is accepted and ignored.
    static void* Create(const char* name);
    static bool Destroy(void* handle);
    /// The handle itself, typed as the stream interface (no reference added).
    static IStream* GetIStream(void* handle);
    /// Appends size bytes at the end, whatever was read before.
    static bool Write(void* handle, unsigned char* const data, unsigned long size,
                      unsigned long* written);
    /// Reads up to size bytes at position and advances position by the count.
    static bool Read(void* handle, unsigned long& position, unsigned char* buffer,
                     unsigned long size, unsigned long* read);
    /// Size in bytes (low 32 bits); 0 for a null handle.
    static unsigned long GetSize(void* handle);
    /// The first byte of the content; null for a null handle or empty stream.
    static unsigned char* Map(void* handle);
    /// Takes the pointer returned by Map (not the handle).
    static bool Unmap(void* pointer);
};
