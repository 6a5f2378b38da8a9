#pragma once
// Fixture for the adapter tests that rebuild their object mid-test: an
// AdapterDataKvi over the recording fake controller, with the log captured.
// reset() starts over with a fresh object, no recorded requests, no scripted
// answers and an empty log.
#include <gtest/gtest.h>

#include <memory>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "tests/support/FakeController.h"
#include "tests/support/LogCapture.h"

class AdapterFixture : public ::testing::Test {
protected:
    kvitest::FakeController ctrl;
    std::unique_ptr<AdapterDataKvi> obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
    kvitest::LogCapture log;
    AdapterDataKvi& a() { return *obj; }

    void reset() {
        obj = std::make_unique<AdapterDataKvi>(&ctrl, nullptr);
        ctrl.clear();
        ctrl.backend().clearScript();
        log.clear();
    }
};
