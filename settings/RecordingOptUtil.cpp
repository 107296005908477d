#include "webstep/settings/RecordingOptUtil.h"

bool RecordingOptUtil::m_WhileRecording = false;
