// The AdapterData interface: the object is complete and takes its identity
// from the controller; the boot-device elements carry the ids the boot
// requests send.
#include <type_traits>

#include <gtest/gtest.h>

#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "tests/support/FakeController.h"

static_assert(std::is_abstract<AdapterData>::value, "AdapterData is an interface");
static_assert(!std::is_abstract<AdapterDataKvi>::value,
              "AdapterDataKvi must override every operation of AdapterData");
namespace {

TEST(AdapterDataInterface, BaseTakesTheControllerIdentityFromTheController) {
    kvitest::FakeController ctrl;
    RaidElementId id(3);
    AdapterDataKvi kvi(&ctrl, &id);
    AdapterData& adapter = kvi;

    EXPECT_EQ(adapter.getController(), &ctrl);
    EXPECT_EQ(adapter.getControllerId(), ctrl.getControllerId());
    EXPECT_EQ(adapter.getElementId(), &id);
}

TEST(AdapterDataInterface, NullControllerLeavesNoIdentity) {
    AdapterDataKvi kvi(nullptr, nullptr);
    EXPECT_EQ(kvi.getController(), nullptr);
    EXPECT_EQ(kvi.getControllerId(), nullptr);
    EXPECT_EQ(kvi.getElementId(), nullptr);
}

TEST(BootDeviceElements, VirtualDiskIdCarriesTheTargetIdOnly) {
    VirtualDisk vd(17);
    RaidElement& element = vd;
    auto* vdId = dynamic_cast<VdIdKvi*>(element.getId());
    ASSERT_NE(vdId, nullptr);
    EXPECT_EQ(vdId->getTargetId(), 17);
    EXPECT_EQ(vdId->getGroup(), 0xFF);
    EXPECT_EQ(vdId->getSeqNum(), 0xFFFF);

    PhysicalDevice pd(0x1234);
    unsigned short devId = 0;
    EXPECT_EQ(pd.getDeviceId(&devId), 0);
    EXPECT_EQ(devId, 0x1234);
    EXPECT_EQ(pd.getDeviceId(nullptr), -1);
}

} // namespace
