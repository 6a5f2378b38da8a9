#pragma once
// Test helpers for the process-wide state of the provider: the debug log and
// the process-wide inputs. Each installs on construction and restores what was
// there on destruction.
#include <cstddef>
#include <string>
#include <vector>

#include "provider/DebugLog.h"
#include "provider/ProcessInputs.h"

namespace kvitest {

// Captures DEBUG_LOG lines in memory (at every level, unless told otherwise).
class LogCapture {
public:
    explicit LogCapture(int maxLevel = EVERYTHING);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<kvi::LogLine>& lines() const { return sink_.lines(); }
    std::vector<std::string> texts() const;           // every line's text, in order
    std::vector<std::string> texts(int level) const;  // lines of one level
    bool contains(const std::string& text) const;     // a line equal to text
    std::size_t count(const std::string& text) const; // lines equal to text
    void clear() { sink_.clear(); }

private:
    kvi::MemoryLogSink sink_;
    kvi::LogSink* previousSink_;
    int previousLevel_;
};

// Sets the process-wide inputs for one test and restores the defaults after it.
class ProcessInputsGuard {
public:
    explicit ProcessInputsGuard(const kvi::ProcessInputs& inputs = kvi::ProcessInputs());
    ~ProcessInputsGuard();
    ProcessInputsGuard(const ProcessInputsGuard&) = delete;
    ProcessInputsGuard& operator=(const ProcessInputsGuard&) = delete;
};

// Switches the data provider off for one test.
class ProviderOffGuard {
public:
    ProviderOffGuard();
    ~ProviderOffGuard();
    ProviderOffGuard(const ProviderOffGuard&) = delete;
    ProviderOffGuard& operator=(const ProviderOffGuard&) = delete;
};

} // namespace kvitest
