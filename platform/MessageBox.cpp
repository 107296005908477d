#include "webstep/platform/MessageBox.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace webstep::platform {

namespace {

std::mutex g_sinkMutex;

MessageBoxSink& SinkSlot() {
    static MessageBoxSink sink;
    return sink;
}

}  // namespace

int DefaultMessageBoxSink(void*, const char* text, const char* caption, unsigned int) {
    std::fprintf(stderr, "%s: %s\n", caption ? caption : "", text ? text : "");
    std::fflush(stderr);
    return IDOK;
}

void SetMessageBoxSink(MessageBoxSink sink) {
    std::lock_guard<std::mutex> lock(g_sinkMutex);
    SinkSlot() = std::move(sink);
}

MessageBoxSink GetMessageBoxSink() {
    std::lock_guard<std::mutex> lock(g_sinkMutex);
    if (SinkSlot())
        return SinkSlot();
    return DefaultMessageBoxSink;
}

int MessageBoxA(void* owner, const char* text, const char* caption, unsigned int type) {
    // Called outside the lock, so that a sink may itself replace the sink.
    const MessageBoxSink sink = GetMessageBoxSink();
    return sink(owner, text ? text : "", caption ? caption : "Error", type);
}

}  // namespace webstep::platform
