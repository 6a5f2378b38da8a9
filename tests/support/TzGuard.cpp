#include "tests/support/TzGuard.h"

#include <cstdlib>
#include <ctime>

namespace kvitest {

TzGuard::TzGuard(const char* tz) {
    const char* old = std::getenv("TZ");
    hadOld_ = old != nullptr;
    if (hadOld_) {
        old_ = old;
    }
    setenv("TZ", tz, 1);
    tzset();
}

TzGuard::~TzGuard() {
    if (hadOld_) {
        setenv("TZ", old_.c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

} // namespace kvitest
