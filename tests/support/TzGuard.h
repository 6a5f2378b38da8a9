#pragma once
// Sets the TZ environment variable for one test (tzset included) and restores
// the previous value, or its absence, afterwards.
#include <string>

namespace kvitest {

class TzGuard {
public:
    explicit TzGuard(const char* tz);
    ~TzGuard();
    TzGuard(const TzGuard&) = delete;
    TzGuard& operator=(const TzGuard&) = delete;

private:
    bool hadOld_ = false;
    std::string old_;
};

} // namespace kvitest
