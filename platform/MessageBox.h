#pragma once
// A stand-in for the system message box. The library has no user interface
// of its own; the box is forwarded to a replaceable sink, which by default
// writes the caption and the text to standard error and answers IDOK.
#include <functional>
#include "webstep/foundation/Export.h"

namespace webstep::platform {

/// Button and icon flags of the type argument, and the answers.
constexpr unsigned int MB_OK = 0x00000000u;
constexpr unsigned int MB_OKCANCEL = 0x00000001u;
constexpr unsigned int MB_YESNO = 0x00000004u;
constexpr unsigned int MB_ICONHAND = 0x00000010u;
constexpr unsigned int MB_ICONSTOP = MB_ICONHAND;
constexpr unsigned int MB_ICONERROR = MB_ICONHAND;
constexpr unsigned int MB_ICONQUESTION = 0x00000020u;
constexpr unsigned int MB_ICONEXCLAMATION = 0x00000030u;
constexpr unsigned int MB_ICONWARNING = MB_ICONEXCLAMATION;
constexpr unsigned int MB_ICONINFORMATION = 0x00000040u;
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

/// Receives (owner window, text, caption, type) and returns the answer.
/// Text and caption are never null when they reach a sink.
using MessageBoxSink =
    std::function<int(void* owner, const char* text, const char* caption, unsigned int type)>;

/// Replaces the sink; an empty function restores the default. Thread-safe.
WEBSTEP_API void SetMessageBoxSink(MessageBoxSink sink);
/// The current sink (the default one when none was set).
WEBSTEP_API MessageBoxSink GetMessageBoxSink();
/// The default sink: writes "<caption>: <text>" and a newline to stderr.
WEBSTEP_API int DefaultMessageBoxSink(void* owner, const char* text, const char* caption,
                                      unsigned int type);

/// Shows a message box through the sink. A null text or caption is shown as
/// empty text and the caption "Error", as the system does.
WEBSTEP_API int MessageBoxA(void* owner, const char* text, const char* caption, unsigned int type);

}  // namespace webstep::platform
