#include "provider/DebugLog.h"

#include <cstdarg>

namespace {
kvi::LogSink* gSink = nullptr;
int gMaxLevel = EVERYTHING;
} // namespace

namespace kvi {

LogSink* setLogSink(LogSink* sink) {
    LogSink* previous = gSink;
    gSink = sink;
    return previous;
}

LogSink* logSink() {
    return gSink;
}

int setLogLevel(int maxLevel) {
    int previous = gMaxLevel;
    gMaxLevel = maxLevel;
    return previous;
}

int logLevel() {
    return gMaxLevel;
}

bool logEnabled(int level) {
    return gSink && level > NOLOG && level <= gMaxLevel;
}

const char* logLevelName(int level) {
    static const char* const names[] = {"NOLOG", "CRITICAL", "WARNING", "INFO", "EVERYTHING"};
    if (level >= NOLOG && level <= EVERYTHING)
        return names[level];
    return "LEVEL?";
}

} // namespace kvi

void DEBUG_LOG(int level, const char* format, ...) {
    if (!kvi::logEnabled(level) || !format)
        return;
    // Format into a stack buffer; lines that do not fit are formatted again into
    // a buffer of their exact size, so no line is ever cut or overrun.
    char small[512];
    va_list args;
    va_start(args, format);
    va_list again;
    va_copy(again, args);
    int needed = std::vsnprintf(small, sizeof small, format, args);
    va_end(args);
    if (needed < 0) {
        va_end(again);
        return;
    }
    if (static_cast<size_t>(needed) < sizeof small) {
        va_end(again);
        kvi::logSink()->write(level, small);
        return;
    }
    std::string big(static_cast<size_t>(needed) + 1, '\0');
    std::vsnprintf(&big[0], big.size(), format, again);
    va_end(again);
    big.resize(static_cast<size_t>(needed));
    kvi::logSink()->write(level, big.c_str());
}
