// DEBUG_LOG: formatting, level filtering and the sinks.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "provider/DebugLog.h"
#include "tests/support/LogCapture.h"

namespace {

// Long lines are kept whole.
TEST(DebugLog, FormatsPrintfStyleAtItsLevel) {
    kvitest::LogCapture log;
    const std::string big(3000, 'x');
    DEBUG_LOG(INFO, "Exiting AdapterDataKvi::%s retCode = %d", "getCtlrInfo", -1);
    DEBUG_LOG(WARNING, "%s %05.1f %x %c%%", "mixed", 2.5, 255u, 'z');
    DEBUG_LOG(INFO, "<%s>", big.c_str());
    EXPECT_EQ(log.texts(INFO),
              (std::vector<std::string>{"Exiting AdapterDataKvi::getCtlrInfo retCode = -1",
                                        "<" + big + ">"}));
    EXPECT_EQ(log.texts(WARNING), std::vector<std::string>{"mixed 002.5 ff z%"});
}

TEST(DebugLog, MaximumLevelFiltersAndNologIsNeverWritten) {
    for (int max = NOLOG; max <= EVERYTHING; ++max) {
        kvitest::LogCapture log(max);
        for (int level = NOLOG; level <= EVERYTHING; ++level)
            DEBUG_LOG(level, "line %d", level);
        std::vector<std::string> written; // CRITICAL up to the maximum
        for (int level = CRITICAL; level <= max; ++level)
            written.push_back("line " + std::to_string(level));
        EXPECT_EQ(log.texts(), written) << "max level " << max;
    }
}

TEST(DebugLog, NothingIsWrittenWithoutASinkAndCaptureRestores) {
    kvi::LogSink* before = kvi::logSink();
    {
        kvitest::LogCapture outer;
        {
            kvitest::LogCapture inner(WARNING);
            DEBUG_LOG(WARNING, "inner");
        }
        EXPECT_EQ(kvi::logLevel(), EVERYTHING);
        DEBUG_LOG(INFO, "outer");
        EXPECT_EQ(outer.texts(), std::vector<std::string>{"outer"});
    }
    EXPECT_EQ(kvi::logSink(), before);
    EXPECT_FALSE(kvi::logEnabled(CRITICAL) && before == nullptr);
}

} // namespace
