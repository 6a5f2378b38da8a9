#include "fuzz/FuzzSupport.h"

#include <cstring>

#include "provider/Provider.h"

namespace kvifuzz {
namespace {

class FormattingSink : public kvi::LogSink {
public:
    void write(int, const char* text) override { length_ += std::strlen(text); }

private:
    std::size_t length_ = 0;
};

} // namespace

void installFormattingLogSink() {
    static FormattingSink sink;
    kvi::setLogSink(&sink);
    kvi::setLogLevel(EVERYTHING);
}

void setFuzzedProcessInputs(FuzzedDataProvider& in) {
    kvi::ProcessInputs inputs;
    inputs.isOEMhp = in.ConsumeBool();
    inputs.controllerType = in.ConsumeIntegralInRange<int>(0, 2);
    inputs.oemCheck = in.ConsumeIntegralInRange<int>(0, 2);
    kvi::setProcessInputs(inputs);
    KviDataProvider::setAvailable(in.ConsumeIntegralInRange<int>(0, 15) != 0);
}

ScopedSystemBackend::ScopedSystemBackend(kvi::Backend* backend)
    : previous_(System::getInstance()->backend()) {
    System::getInstance()->setBackend(backend);
}

ScopedSystemBackend::~ScopedSystemBackend() {
    System::getInstance()->setBackend(previous_);
}

} // namespace kvifuzz
