#pragma once
// Sets the TZ environment variable for one test (tzset included) and restores
// the previous value, or its absence, afterwards.
#include <cstdlib>
#include <ctime>
#include <string>

namespace kvitest {

class TzGuard {
public:
    explicit TzGuard(const char* tz) {
        const char* old = std::getenv("TZ");
        if ((hadOld_ = old != nullptr))
            old_ = old;
        setenv("TZ", tz, 1);
        tzset();
    }
    ~TzGuard() {
        if (hadOld_)
            setenv("TZ", old_.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    TzGuard(const TzGuard&) = delete;
    TzGuard& operator=(const TzGuard&) = delete;

private:
    bool hadOld_ = false;
    std::string old_;
};

} // namespace kvitest
