#include "tests/support/LogCapture.h"

#include <algorithm>

#include "provider/KviDataProvider.h"

namespace kvitest {

LogCapture::LogCapture(int maxLevel)
    : previousSink_(kvi::setLogSink(&sink_)), previousLevel_(kvi::setLogLevel(maxLevel)) {}

LogCapture::~LogCapture() {
    kvi::setLogSink(previousSink_);
    kvi::setLogLevel(previousLevel_);
}

std::vector<std::string> LogCapture::texts() const {
    std::vector<std::string> out;
    for (const kvi::LogLine& line : sink_.lines())
        out.push_back(line.text);
    return out;
}

std::vector<std::string> LogCapture::texts(int level) const {
    std::vector<std::string> out;
    for (const kvi::LogLine& line : sink_.lines())
        if (line.level == level)
            out.push_back(line.text);
    return out;
}

bool LogCapture::contains(const std::string& text) const {
    return count(text) > 0;
}

std::size_t LogCapture::count(const std::string& text) const {
    return static_cast<std::size_t>(
        std::count_if(sink_.lines().begin(), sink_.lines().end(),
                      [&](const kvi::LogLine& line) { return line.text == text; }));
}

ProcessInputsGuard::ProcessInputsGuard(const kvi::ProcessInputs& inputs) {
    kvi::setProcessInputs(inputs);
}

ProcessInputsGuard::~ProcessInputsGuard() {
    kvi::resetProcessInputs();
}

ProviderOffGuard::ProviderOffGuard() {
    KviDataProvider::setAvailable(false);
}

ProviderOffGuard::~ProviderOffGuard() {
    KviDataProvider::setAvailable(true);
}

} // namespace kvitest
