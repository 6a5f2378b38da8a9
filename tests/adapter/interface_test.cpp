// The shape of the AdapterData interface: the object is complete, the
// operations whose result is not a status or that are overloaded keep their
// declared forms, and the cache loaders and helpers stay out of the interface.
#include <ctime>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "RaidLib/RaidFw/Elements.h"
#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "tests/support/FakeController.h"

static_assert(std::is_abstract<AdapterData>::value, "AdapterData is an interface");
static_assert(!std::is_abstract<AdapterDataKvi>::value,
              "AdapterDataKvi must override every operation of AdapterData");
static_assert(std::has_virtual_destructor<AdapterData>::value, "deleted through the interface");
static_assert(std::is_base_of<RaidElementData, AdapterData>::value, "");
static_assert(std::is_convertible<AdapterDataKvi*, AdapterData*>::value, "");

namespace {

// The declared form of one operation, checked by taking its address with the
// expected member-function type: a changed parameter or result does not compile.
template <class Sig> constexpr bool declared(Sig) {
    return true;
}

using A = AdapterData;
static_assert(declared<int (A::*)(VirtualDisk*)>(&A::setBootVd), "");
static_assert(declared<int (A::*)(PhysicalDevice*)>(&A::setBootVd), "");
static_assert(declared<int (A::*)(unsigned short)>(&A::setPersonality), "");
static_assert(declared<int (A::*)(unsigned short, unsigned short)>(&A::setPersonality), "");
static_assert(declared<unsigned char (A::*)()>(&A::getPrMode), "");
static_assert(declared<unsigned char (A::*)()>(&A::getPrState), "");
static_assert(declared<unsigned int (A::*)()>(&A::getPrNumIteration), "");
static_assert(declared<unsigned char (A::*)()>(&A::getPrNumPdComplete), "");
static_assert(declared<unsigned int (A::*)()>(&A::getPrExecDelay), "");
static_assert(declared<unsigned int (A::*)()>(&A::getPrConcurrentPd), "");
static_assert(declared<bool (A::*)(unsigned char)>(&A::isMultiSpanRaidLevel), "");
static_assert(declared<bool (A::*)(unsigned char)>(&A::getSupportedRaidLevelsForBV), "");
static_assert(declared<unsigned char (A::*)()>(&A::doesControllerSupportPortNumInSmp), "");
static_assert(declared<int (A::*)()>(&A::isNvmeErrorDeviceConnectorIndexSupported), "");
// Index first or last, as each getter was declared.
static_assert(declared<int (A::*)(unsigned char, unsigned char*)>(&A::getConnectorLocation), "");
static_assert(declared<int (A::*)(unsigned char*, unsigned char)>(&A::getPhyConnection), "");
static_assert(declared<int (A::*)(unsigned char*, unsigned char)>(&A::getMaxSpanCount), "");
// Setters keep their value or pointer form.
static_assert(declared<int (A::*)(unsigned char*)>(&A::setRebuildRate), "");
static_assert(declared<int (A::*)(unsigned char)>(&A::setclusterState), "");
static_assert(declared<int (A::*)(bool&)>(&A::getLDRestriction), "");
static_assert(declared<int (A::*)(unsigned char, const ArrayList<unsigned short>*, const tm*,
                                  unsigned int)>(&A::setCcSchedMode),
              "");

// Members of AdapterDataKvi that are not operations of the interface.
#define KVI_NOT_IN_INTERFACE(member)                                                               \
    template <class T, class = void> struct has_##member : std::false_type {};                     \
    template <class T>                                                                             \
    struct has_##member<T, std::void_t<decltype(&T::member)>> : std::true_type {};                 \
    static_assert(!has_##member<AdapterData>::value, #member " is not an AdapterData operation");

KVI_NOT_IN_INTERFACE(getCtlrInfo)
KVI_NOT_IN_INTERFACE(getKvCtlrProp)
KVI_NOT_IN_INTERFACE(getMFCdata)
KVI_NOT_IN_INTERFACE(getConfigAllowedOps)
KVI_NOT_IN_INTERFACE(getBatteryInfo)
KVI_NOT_IN_INTERFACE(getBatteryCapacityInfo)
KVI_NOT_IN_INTERFACE(getBatteryDesignInfo)
KVI_NOT_IN_INTERFACE(getBBUProperties)
KVI_NOT_IN_INTERFACE(getBIOSData)
KVI_NOT_IN_INTERFACE(getFwCompData)
KVI_NOT_IN_INTERFACE(getPrProperties)
KVI_NOT_IN_INTERFACE(getCcScProperties)
KVI_NOT_IN_INTERFACE(getMuxInfo)
KVI_NOT_IN_INTERFACE(getConnectors)
KVI_NOT_IN_INTERFACE(getAllPhyConnections)
KVI_NOT_IN_INTERFACE(setPrProperties)
KVI_NOT_IN_INTERFACE(setCcScProperties)
KVI_NOT_IN_INTERFACE(getPrStatus)
KVI_NOT_IN_INTERFACE(getCcScStatus)
KVI_NOT_IN_INTERFACE(y2kTime)
KVI_NOT_IN_INTERFACE(getdstInSec)
KVI_NOT_IN_INTERFACE(getCtrlTime)
KVI_NOT_IN_INTERFACE(formatPolicyObject)
KVI_NOT_IN_INTERFACE(doesFWSupportCfgValidation)
KVI_NOT_IN_INTERFACE(getConfigPageHeader)
KVI_NOT_IN_INTERFACE(GetSASPhyLinkSpeed)
#undef KVI_NOT_IN_INTERFACE

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
