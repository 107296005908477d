#pragma once
// Small helpers shared by the step classes: text assignment, the option
// suffixes of attribute names, and bit operators for the flag enumerations.
#include "webstep/foundation/MString.h"

namespace webstep::steps {

/// Copies a C string into a member; a null pointer stores the empty text
/// rather than failing.
inline void AssignText(MString& target, const char* text) {
    if (text != nullptr) {
        target = text;
    } else {
        target.clear();
    }
}

/// The attribute name base followed by the option suffix of every bit set in
/// flags, lowest bit first: 1 "/IC", 2 "/BIN", 4 "/DIG", 8 "/ALNUMIC",
/// 16 "/ALNUMLC", 32 "/ALNUMUC". Bits outside validBits are ignored.
inline MString AttributeNameWithFlags(const char* base, unsigned int flags,
                                      unsigned int validBits) {
    static const char* const kSuffixes[] = {"/IC",      "/BIN",     "/DIG",
                                            "/ALNUMIC", "/ALNUMLC", "/ALNUMUC"};
    MString name = base;
    for (unsigned int i = 0; i < 6; ++i) {
        const unsigned int bit = 1u << i;
        if ((flags & validBits & bit) != 0) {
            name += kSuffixes[i];
        }
    }
    return name;
}

}  // namespace webstep::steps

// Bit operators for an unscoped flag enumeration whose underlying type is
// unsigned int.
#define WEBSTEP_FLAG_OPERATORS(T)                                                           \
    inline constexpr T operator|(T a, T b) {                                                \
        return static_cast<T>(static_cast<unsigned int>(a) | static_cast<unsigned int>(b)); \
    }                                                                                       \
    inline constexpr T operator&(T a, T b) {                                                \
        return static_cast<T>(static_cast<unsigned int>(a) & static_cast<unsigned int>(b)); \
    }                                                                                       \
    inline constexpr T operator~(T a) {                                                     \
        return static_cast<T>(~static_cast<unsigned int>(a));                               \
    }                                                                                       \
    inline T& operator|=(T& a, T b) {                                                       \
        return a = a | b;                                                                   \
    }                                                                                       \
    inline T& operator&=(T& a, T b) {                                                       \
        return a = a & b;                                                                   \
    }
