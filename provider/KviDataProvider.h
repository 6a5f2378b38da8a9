#pragma once
// The data provider: the process-wide object that owns the way to the
// controllers. Some operations only check that it exists before they send.

class KviDataProvider {
public:
    // The provider for controllers of `type` (0xFF = all types), or nullptr
    // when no provider is available. Available by default.
    static KviDataProvider* getInstance(unsigned char type);

    // Tests switch the provider off to reach the "no provider" paths.
    static void setAvailable(bool available);
    static bool isAvailable();

private:
    KviDataProvider() = default;
};
