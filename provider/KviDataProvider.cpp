#include "provider/KviDataProvider.h"

namespace {
bool gAvailable = true;
} // namespace

KviDataProvider* KviDataProvider::getInstance(unsigned char type) {
    (void)type; // one provider serves every controller type
    static KviDataProvider instance;
    return gAvailable ? &instance : nullptr;
}

void KviDataProvider::setAvailable(bool available) {
    gAvailable = available;
}

bool KviDataProvider::isAvailable() {
    return gAvailable;
}
