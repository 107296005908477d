#pragma once
// One process-wide flag: whether a recording is in progress. Not locked; the
// recorder sets it before any virtual user runs.
#include "webstep/foundation/Export.h"

/// The process-wide recording flag (exported static data), read and set
/// without a lock.
class WEBSTEP_API RecordingOptUtil {
public:
    static bool GetWhileRecording() { return m_WhileRecording; }
    static void SetWhileRecording(bool whileRecording) { m_WhileRecording = whileRecording; }

    static bool m_WhileRecording;
};
