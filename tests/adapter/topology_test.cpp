// Topology: phy table fields and bit positions, index limits, the connector
// and mux tables, the mux update transaction, lanes, link speed texts and the
// interface-level checks. The controller SAS address (mailbox and record forms)
// is read back through the simulator in tests/sim.
#include "tests/adapter/AdapterFixture.h"

namespace {

using namespace kvitest;

using TopologyTest = AdapterFixture;

// Phy 3: address 0x5000C500AABBCCDD, connector 2, port 0x2A valid, link speed
// code 4 (6G) in bits 18-23, every other bit of its flag word set.
// Phy 5: no connector (255), disabled bit clear. Phy 6: disabled bit set,
// connector 1.
Bytes phyTable() {
    Bytes b(392, 0);
    const std::uint32_t count = 8;
    std::memcpy(b.data(), &count, 4);
    auto entry = [&](int i) { return b.data() + 8 + 16 * i; };
    const std::uint64_t addr = 0x5000C500AABBCCDDull;
    std::memcpy(entry(3), &addr, 8);
    entry(3)[11] = 2;
    std::uint32_t flags = 0x3Fu << 11 | 1u << 17 | 4u << 18;
    flags |= 0x7FFu | 0xFFu << 24; // neighbours of the fields read
    std::memcpy(entry(3) + 12, &flags, 4);
    entry(5)[11] = 0xFF;
    entry(6)[11] = 1;
    const std::uint32_t disabled = 1u << 10;
    std::memcpy(entry(6) + 12, &disabled, 4);
    return b;
}

// Every phy-level answer for phys of the table above and indices at and outside its 24 entries
// (outputs start at 7; the disabled flag from false and from true):
// tests/golden/adapter/phy-table.txt. The count and the 64-bit address are in the walk golden of
// tests/sim.
TEST_F(TopologyTest, PhyFieldsBitPositionsAndIndexLimits) {
    ctrl.answer(KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS, FakeAnswer::ok(phyTable()));
    std::ostringstream table;
    for (const int phy : {-1, 3, 4, 5, 6, 23, 24, 1000}) {
        unsigned int port = 7, valid = 7, speed = 7;
        unsigned long long addr = 7;
        unsigned char connector = 7, via = 7;
        bool off[2] = {false, true};
        table << "phy " << phy << ": port " << a().getSASPortNumber(phy, &port) << " " << port
              << ", valid " << a().getSASPortNumberValid(phy, &valid) << " " << valid << ", speed "
              << a().getLinkSpeed(phy, &speed) << " " << speed << ", connector "
              << a().getConnectorIndex(phy, &connector) << " " << int(connector) << ", via "
              << a().getPhyConnection(&via, phy) << " " << int(via) << ", disabled "
              << a().isPhyDisable(phy, &off[0]) << " " << off[0] << "/"
              << a().isPhyDisable(phy, &off[1]) << " " << off[1];
        if (phy < 0 || phy >= 24) {
            EXPECT_EQ(a().getSASAddress(phy, &addr), -1);
            EXPECT_EQ(addr, 7u);
        }
        table << '\n';
    }
    expectGolden("phy-table.txt", table.str());
    EXPECT_EQ(ctrl.count(KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS), 1u); // kept

    // A failed read is remembered as an all-zero table.
    reset();
    ctrl.answer(KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS, FakeAnswer::fail(0x0C));
    unsigned int count = 9;
    EXPECT_EQ(a().getPhyCount(&count), 0x0C);
    EXPECT_EQ(count, 9u);
    EXPECT_EQ(a().getPhyCount(&count), 0);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(ctrl.count(KV_DCMD_SAS_CONFIG_GET_PHY_CONNECTIONS), 1u);
}

Bytes connectorTable(std::uint32_t count) {
    KV_SAS_CONNECTORS t{};
    t.count = count;
    for (int i = 0; i < 8; ++i) {
        t.connectors[i].location = static_cast<std::uint8_t>(0x10 + i);
        std::memset(t.connectors[i].name, 'A' + i, sizeof t.connectors[i].name); // no NUL
    }
    std::memcpy(t.connectors[1].name, "Port 1", 7);
    Bytes b(sizeof t);
    std::memcpy(b.data(), &t, sizeof t);
    return b;
}

// Location and name of each connector around the count (3, the low byte of 0x103) and the table's
// eight entries (outputs start at 0x77 and as a pointer that must be nulled):
// tests/golden/adapter/connectors.txt.
TEST_F(TopologyTest, Connectors) {
    std::ostringstream table;
    for (const std::uint32_t count : {0x103u, 200u}) {
        reset();
        ctrl.answer(KV_DCMD_SAS_CONFIG_GET_CONNECTORS, FakeAnswer::ok(connectorTable(count)));
        unsigned char n = 0x77;
        table << "count " << count << ": " << a().getConnectorCount(&n) << " " << int(n) << '\n';
        for (int i = 0; i <= 8; ++i) {
            unsigned char loc = 0x77;
            std::string* name = reinterpret_cast<std::string*>(&loc);
            table << "  " << i << ": location " << a().getConnectorLocation(i, &loc) << " "
                  << int(loc) << ", name " << a().getConnectorName(i, &name) << " "
                  << (name != nullptr ? "\"" + *name + "\"" : "null") << '\n';
            delete name;
        }
    }
    expectGolden("connectors.txt", table.str());
    KV_SAS_CONNECTORS copy{};
    EXPECT_EQ(a().getConnectorsValue(&copy), 0);
    EXPECT_EQ(0, std::memcmp(&copy, connectorTable(200).data(), sizeof copy));
    EXPECT_EQ(ctrl.count(KV_DCMD_SAS_CONFIG_GET_CONNECTORS), 1u);
}

TEST_F(TopologyTest, MuxTransaction) {
    // Two muxes: mux 0 internal, mux 1 without a mux (mode 0); firmware
    // reports a count of 2.
    const Bytes list = {2, 1, 0, 3, 3};
    ctrl.answer(KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST, FakeAnswer::ok(list));
    EXPECT_EQ(a().setMuxMode(2, 0), -1); // no begin yet
    P::muxChanged(a()) = true;           // the list is looked for before the flag
    EXPECT_EQ(a().endMuxModeUpdate(), -1);
    EXPECT_TRUE(P::muxChanged(a()));
    EXPECT_TRUE(ctrl.requests().empty());
    P::muxChanged(a()) = false;

    ASSERT_EQ(a().beginMuxModeUpdate(), 0);
    unsigned char count = 0, mode = 0;
    EXPECT_EQ(a().getMuxCount(&count), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(a().getMuxMode(&mode, 0), 0);
    EXPECT_EQ(mode, 1);
    mode = 0x77;
    EXPECT_EQ(a().getMuxMode(&mode, 2), -1); // beyond the count
    EXPECT_EQ(mode, 0x77);
    EXPECT_EQ(a().endMuxModeUpdate(), 0); // nothing changed: nothing sent

    EXPECT_EQ(a().setMuxMode(2, 3), -1); // beyond the count
    EXPECT_EQ(a().setMuxMode(0, 0), -1); // mode 0 is never set
    EXPECT_EQ(a().setMuxMode(2, 1), -1); // mux 1 has no mux
    EXPECT_FALSE(P::muxChanged(a()));
    EXPECT_EQ(a().setMuxMode(2, 0), 0);
    EXPECT_TRUE(P::muxChanged(a()));
    EXPECT_EQ(ctrl.count(KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST), 0u);
    EXPECT_EQ(a().endMuxModeUpdate(), 0);
    const auto* set = ctrl.last(KV_DCMD_SAS_CONFIG_MUX_MODE_SET_LIST);
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->sent, (Bytes{2, 2, 0, 3, 3}));
    EXPECT_EQ(set->callerLength, 0u);
    EXPECT_FALSE(P::muxChanged(a()));
    EXPECT_EQ(ctrl.count(KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST), 1u);

    // A count above the list's four modes never indexes past them.
    reset();
    ctrl.answer(KV_DCMD_SAS_CONFIG_MUX_MODE_GET_LIST, FakeAnswer::ok(Bytes{200, 1, 1, 1, 1}));
    ASSERT_EQ(a().beginMuxModeUpdate(), 0);
    EXPECT_EQ(a().getMuxMode(&mode, 4), -1);
    EXPECT_EQ(a().setMuxMode(2, 4), -1);
    EXPECT_EQ(a().getMuxMode(&mode, 3), 0);
}

TEST_F(TopologyTest, LinkSpeedTexts) {
    const struct {
        unsigned char code;
        const char* text;
    } texts[] = {{0, "No limit"}, {1, "1.5 Gbps"},  {2, "3.0 Gbps"}, {3, "N/A"},
                 {4, "6.0 Gbps"}, {8, "12.0 Gbps"}, {16, "N/A"},     {255, "N/A"}};
    for (const auto& t : texts) {
        EXPECT_STREQ(a().GetSASPhyLinkSpeed(t.code), t.text);
    }
}

TEST_F(TopologyTest, LanesAreReadEachTimeIntoATemporaryTable) {
    Bytes table = pattern(392, 0x10);
    const std::uint32_t count = 2;
    std::memcpy(table.data(), &count, 4);
    ctrl.answer(KV_DCMD_PCIE_CONFIG_GET_LANE_CONNECTIONS, FakeAnswer::ok(table));
    unsigned char out[16] = {};
    EXPECT_EQ(a().getLaneConnectionInfo(out, 1), 0);
    EXPECT_EQ(Bytes(out, out + 16), Bytes(table.begin() + 24, table.begin() + 40));
    unsigned char untouched[16];
    std::memset(untouched, 0x77, sizeof untouched);
    EXPECT_EQ(a().getLaneConnectionInfo(untouched, 2), 0); // beyond the count
    EXPECT_EQ(untouched[0], 0x77);
    EXPECT_EQ(ctrl.count(KV_DCMD_PCIE_CONFIG_GET_LANE_CONNECTIONS), 2u);

    // A count above 24 does not reach past the table.
    const std::uint32_t huge = 1000;
    std::memcpy(table.data(), &huge, 4);
    ctrl.answer(KV_DCMD_PCIE_CONFIG_GET_LANE_CONNECTIONS, FakeAnswer::ok(table));
    EXPECT_EQ(a().getLaneConnectionInfo(untouched, 24), 0);
    EXPECT_EQ(untouched[0], 0x77);

    ctrl.answer(KV_DCMD_PCIE_CONFIG_GET_LANE_CONNECTIONS, FakeAnswer::fail(0x0C));
    EXPECT_EQ(a().getLaneConnectionInfo(untouched, 0), 0x0C);
}

TEST_F(TopologyTest, InterfaceLevels) {
    const struct {
        std::uint16_t fwd, bkwd;
        bool appNeeds;
    } cases[] = {{0, 0, false}, {3, 5, true}, {0, 0xFFFF, false}};
    for (const auto& c : cases) {
        KV_CTRL_INFO info{};
        info.kvAPIFwdCompatibility = c.fwd;
        info.kvAPIBkwdCompatibility = c.bkwd;
        ctrl.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
        AdapterDataKvi x{&ctrl, nullptr};
        bool need = !c.appNeeds;
        unsigned short fw = 0, app = 9;
        EXPECT_EQ(x.doesAppNeedToBeUpdated(&need, &fw, &app), 0);
        EXPECT_EQ(need, c.appNeeds);
        EXPECT_EQ(fw, c.fwd);
        EXPECT_EQ(app, 0);
        need = true;
        app = 9;
        EXPECT_EQ(x.doesFwNeedToBeUpdated(&need, &fw, &app), 0);
        EXPECT_FALSE(need); // never below the tool's level 0
        EXPECT_EQ(fw, c.bkwd);
        EXPECT_EQ(app, 0);
    }
}

} // namespace
