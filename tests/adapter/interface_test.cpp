// The AdapterData base: the object takes its identity from the controller it is
// given, and none without one.
#include <gtest/gtest.h>

#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "tests/support/FakeController.h"

namespace {

TEST(AdapterDataInterface, IdentityComesFromTheController) {
    kvitest::FakeController ctrl;
    RaidElementId id(3);
    AdapterDataKvi kvi(&ctrl, &id);
    AdapterData& adapter = kvi;
    EXPECT_EQ(adapter.getController(), &ctrl);
    EXPECT_EQ(adapter.getControllerId(), ctrl.getControllerId());
    EXPECT_EQ(adapter.getElementId(), &id);

    AdapterDataKvi none(nullptr, nullptr);
    EXPECT_EQ(none.getController(), nullptr);
    EXPECT_EQ(none.getControllerId(), nullptr);
    EXPECT_EQ(none.getElementId(), nullptr);
}

} // namespace
