#pragma once
// Private to the parsers: the option suffixes of attribute names ("LB/IC",
// "URL/RE/IC").
#include <strings.h>

#include <cstring>

#include "webstep/foundation/MString.h"

namespace webstep::script_internal {

// Reads the slash-separated segments after the base name. A segment matches
// the first option (in table order) that it begins, ignoring case, so that
// shortened options are accepted: "I" is "IC", "ALNUM" is "ALNUMIC".
inline bool ReadOptionSuffixes(const MString& name, const char* const* options, size_t optionCount,
                               unsigned int& bits) {
    bits = 0;
    size_t slash = name.find('/');
    while (slash != MString::npos) {
        const size_t next = name.find('/', slash + 1);
        const size_t length = (next == MString::npos ? name.size() : next) - slash - 1;
        if (length == 0)
            return false;
        bool matched = false;
        for (size_t i = 0; i < optionCount && !matched; ++i) {
            if (length <= std::strlen(options[i]) &&
                strncasecmp(name.c_str() + slash + 1, options[i], length) == 0) {
                bits |= 1u << i;
                matched = true;
            }
        }
        if (!matched)
            return false;
        slash = next;
    }
    return true;
}

}  // namespace webstep::script_internal
