#include "provider/System.h"

#include <cstring>
#include <string>

namespace {
int copyText(const std::string& text, char* buffer, unsigned int size) {
    if (!buffer || size == 0)
        return -1;
    size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(buffer, text.data(), n);
    buffer[n] = '\0';
    return 0;
}
} // namespace

System* System::getInstance() {
    static System instance;
    return &instance;
}

int System::getDriverName(char* buffer, int controller, unsigned int size) {
    (void)controller; // one driver serves every controller of a backend
    if (!backend_ || !buffer)
        return -1;
    return copyText(backend_->driverName(), buffer, size);
}

int System::getDriverVersion(char* buffer, int controller, unsigned int size) {
    (void)controller;
    if (!backend_ || !buffer)
        return -1;
    return copyText(backend_->driverVersion(), buffer, size);
}
