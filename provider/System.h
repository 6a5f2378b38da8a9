#pragma once
// The host side: driver name and driver version, answered by the backend that
// reaches the controllers.
#include "provider/Backend.h"

class System {
public:
    static System* getInstance();

    // Size of the text buffers callers pass.
    static constexpr unsigned int kTextSize = 100;

    // Copies the driver's name (or version) as a NUL-terminated text into
    // `buffer`, at most size - 1 characters. `controller` is the controller
    // number (0 = first). Returns 0, or -1 when no backend is set or the
    // buffer is null.
    int getDriverName(char* buffer, int controller, unsigned int size = kTextSize);
    int getDriverVersion(char* buffer, int controller, unsigned int size = kTextSize);

    // The backend asked; not owned. nullptr = none. Set at start-up.
    void setBackend(kvi::Backend* backend) { backend_ = backend; }
    kvi::Backend* backend() const { return backend_; }

private:
    System() = default;
    kvi::Backend* backend_ = nullptr;
};
