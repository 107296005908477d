#pragma once
// Private to the parser sources: defines a parser's parse as the common frame
// alone. A parser whose function has its own grammar writes __ParseArguments
// by hand instead.
#include "webstep/script/WebParsers.h"
#include "webstep/steps/WebSteps.h"

// Casts the current step to the parser's step class (null when the slot is
// empty or holds another class), applies the frame, and on success creates
// the step when asked to. Without WPF_CREATE_STEP and without a step of the
// right class in the slot, the arguments are still checked and nothing is
// filled, so a caller can validate a call without a step object.
#define WEBSTEP_DEFINE_PARSER(Parser, Step, Function, Shape, Count, Leading)       \
    bool Parser::__ParseArguments() {                                              \
        static const FrameRule rule = {Function, Shape, Count, Leading};           \
        Step* step = GetDataStep() ? dynamic_cast<Step*>(GetDataStep()) : nullptr; \
        if (!ApplyFrame(rule))                                                     \
            return false;                                                          \
        if (GetFlags() & WPF_CREATE_STEP) {                                        \
            step = new Step;                                                       \
            SetDataStep(step);                                                     \
        }                                                                          \
        (void)step;                                                                \
        return true;                                                               \
    }
