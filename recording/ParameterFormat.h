#pragma once
// Formatting of generated parameter values: integers with a printf-like
// format ("%d", "%03d", "id-%05u") and times with a strftime-like one
// ("%Y-%m-%d %H:%M:%S").
//
// The formats come from the folder's parameter file, written by users, so
// they are never handed to the C library unchecked: the text is parsed here,
// and only one conversion at a time, rebuilt from the parts that were
// recognised, reaches snprintf or strftime. Whatever is not recognised is
// copied as written; nothing a format says can crash or read past a value.
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "webstep/foundation/Export.h"

/// Safe printf-like and strftime-like formatting of parameter values.
class WEBSTEP_API CParameterFormat {
public:
    /// The integer value printed by format. Recognised conversions: d, i, u,
    /// x, X, o with the flags "-+ #0", a width and a precision (each capped at
    /// 64) and length modifiers (h, hh, l, ll, j, z, t, L: ignored, the value
    /// is always 64-bit). "%%" is a percent sign. Every integer conversion
    /// prints the value; any other "%..." text is copied as written. An empty
    /// format prints the value as "%d" would.
    static std::string FormatInteger(std::string_view format, long long value);

    /// The broken-down time printed by format. Recognised codes: a A b B c d
    /// D e F H I j m M n p r R S t T u w y Y z Z %, each printed by strftime
    /// on its own; an unknown code is copied as written. An empty format
    /// prints "%Y-%m-%d %H:%M:%S".
    static std::string FormatTime(std::string_view format, const std::tm& time);
};
