#pragma once
// The byte string used by every interface of the library: 8-bit characters in
// the process multi-byte code page, lengths in bytes.
#include <string>

using MString = std::string;
