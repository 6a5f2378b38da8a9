// Discovery on a fake sysfs tree laid out like the real one: class entries are
// links into /devices, each host's `device` link points at its Scsi_Host, and
// the PCI functions sit above it.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <tuple>
#include <unistd.h>

#include "firmware/kvistat.h"
#include "transport/PassThrough.h"
#include "transport/Session.h"

namespace fs = std::filesystem;

namespace {

class FakeSysfs : public ::testing::Test {
protected:
    void SetUp() override {
        std::string tmpl = (fs::temp_directory_path() / "kvi-sysfs-XXXXXX").string();
        ASSERT_NE(mkdtemp(tmpl.data()), nullptr);
        root = tmpl;
        // host10: second controller, on a function below a bridge in domain 1.
        addHost(10, "devices/pci0001:ae/0001:ae:00.0/0001:af:00.1", "kvdrv", "16");
        // host3: an unrelated storage host.
        addHost(3, "devices/pci0000:00/0000:00:17.0/ata1", "ahci", "1");
        // host2: first controller.
        addHost(2, "devices/pci0000:3a/0000:3a:00.0/0000:3b:00.0", "kvdrv", "8\n");
        write(root / "module/kvdrv/version", "07.725.01.00\n");
        fs::create_directories(root / "class/scsi_host/not-a-host");
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(root, ec);
    }

    static void write(const fs::path& path, const std::string& text) {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << text;
    }

    // <parent>/hostN/scsi_host/hostN with proc_name, the class link and the
    // `device` link; max_link_width on the first PCI function above.
    void addHost(unsigned n, const std::string& parent, const std::string& proc,
                 const std::string& width) {
        const std::string name = "host" + std::to_string(n);
        const fs::path hostDir = root / parent / name;
        const fs::path classObj = hostDir / "scsi_host" / name;
        fs::create_directories(classObj);
        write(classObj / "proc_name", proc + "\n");
        fs::create_directory_symlink("../../../" + name, classObj / "device");
        fs::create_directories(root / "class/scsi_host");
        fs::create_directory_symlink(fs::path("../..") / parent / name / "scsi_host" / name,
                                     root / "class/scsi_host" / name);
        fs::path pci = root / parent;
        if (pci.filename() == "ata1")
            pci = pci.parent_path();
        write(pci / "max_link_width", width);
    }

    fs::path root;
};

TEST_F(FakeSysfs, ListsHostsInHostNumberOrderWithTheirFacts) {
    auto hosts = kvi::listScsiHosts(root.string());
    ASSERT_EQ(hosts.size(), 3u);
    // number, driver, its version, PCI name, domain, bus, device, function, link width
    using Facts = std::tuple<unsigned, std::string, std::string, std::string, unsigned, unsigned,
                             unsigned, unsigned, unsigned>;
    const Facts want[] = {{2, "kvdrv", "07.725.01.00", "0000:3b:00.0", 0, 0x3b, 0, 0, 8},
                          {3, "ahci", "", "0000:00:17.0", 0, 0, 0x17, 0, 1}, // no module version
                          {10, "kvdrv", "07.725.01.00", "0001:af:00.1", 1, 0xaf, 0, 1, 16}};
    for (std::size_t i = 0; i < 3; ++i) {
        const kvi::ScsiHost& h = hosts[i];
        EXPECT_TRUE(h.hasPci);
        EXPECT_EQ(Facts(h.number, h.driverName, h.driverVersion, h.pciName, h.pci.domain, h.pci.bus,
                        h.pci.device, h.pci.function, h.pci.linkWidth),
                  want[i]);
    }
}

// A device that answers the controller-information read for some hosts only.
struct ProbeDevice {
    std::map<unsigned, int> errnoByHost;           // hosts not listed answer status 0
    std::map<unsigned, std::uint8_t> statusByHost; // firmware status of the answer
    int openResult = 5;
    std::vector<std::pair<unsigned, std::uint32_t>> seen; // host, opcode

    kvi::DeviceOps ops() {
        kvi::DeviceOps o;
        o.open = [this](const std::string&) { return openResult; };
        o.ioctl = [this](int, unsigned long, void* arg) {
            auto* p = static_cast<kvi::KviIoctlPacket*>(arg);
            seen.emplace_back(p->host, kvi::frameOf(*p).opcode);
            auto status = statusByHost.find(p->host);
            if (status != statusByHost.end())
                p->frame[2] = status->second; // the frame's status byte
            auto it = errnoByHost.find(p->host);
            return it == errnoByHost.end() ? 0 : it->second;
        };
        o.close = [](int) {};
        return o;
    }
};

// The controllers are the hosts that answer the controller-information read,
// each backend with its host's facts; when none does, the exit status and
// why each host was not taken, named after the host, and the command line's
// message that names the reason and what to do, once.
TEST_F(FakeSysfs, ControllersAreTheHostsThatAnswerTheInformationRead) {
    ProbeDevice dev;
    dev.errnoByHost[3] = ENODEV;
    kvi::TransportSet set = kvi::openPassThrough("/dev/kvtest", root.string(), dev.ops());
    ASSERT_EQ(set.controllers.size(), 2u) << set.error;
    kvi::PciLocation loc;
    ASSERT_EQ(set.controllers[0]->pciLocation(loc), 0);
    EXPECT_EQ(loc.bus, 0x3bu);
    ASSERT_EQ(set.controllers[1]->pciLocation(loc), 0);
    EXPECT_EQ(loc.bus, 0xafu);
    EXPECT_EQ(loc.linkWidth, 16u);
    EXPECT_EQ(set.controllers[1]->driverName(), "kvdrv");
    EXPECT_EQ(set.controllers[1]->driverVersion(), "07.725.01.00");
    const std::vector<std::pair<unsigned, std::uint32_t>> probes = {
        {2, 0x01010000}, {3, 0x01010000}, {10, 0x01010000}}; // the controller-information read
    EXPECT_EQ(dev.seen, probes);

    const struct {
        int err;             // errno of host10's probe (0: answered)
        std::uint8_t status; // firmware status of its answer
        const char* why;
    } rejected[] = {
        {EINVAL, 0, "driver rejected EINVAL"},
        {EFAULT, 0, "driver rejected EFAULT"},
        {ETIMEDOUT, 0, "timeout"},
        {ENXIO, 0, "not a controller of the driver (ENXIO)"},
        {EIO, 0, "failed with EIO"},
        {200, 0, "failed with errno 200"},
        {0, KVI_STAT_INVALID_DCMD, "KVI_STAT_INVALID_DCMD"},
        {0, 0xF7, "0xf7"},
    };
    for (const auto& c : rejected) {
        ProbeDevice none;
        none.errnoByHost = {{2, ENODEV}, {3, ENODEV}, {10, c.err}};
        none.statusByHost = {{10, c.status}};
        set = kvi::openPassThrough("/dev/kvtest", root.string(), none.ops());
        EXPECT_TRUE(set.controllers.empty());
        EXPECT_EQ(kvi::exitCodeFor(set.fault), 3);
        EXPECT_EQ(set.error, std::string("no controller answered through /dev/kvtest; hosts tried: "
                                         "host2 (kvdrv: not a controller of the driver (ENODEV)), "
                                         "host3 (ahci: not a controller of the driver (ENODEV)), "
                                         "host10 (kvdrv: ") +
                                 c.why + ")");
    }

    const std::string hint = "check the device and the driver, or try the simulator: kvictl --sim "
                             "show";
    const struct {
        int openResult;
        int exit;
        std::string message; // after "no controller reachable through /dev/kvtest: "
    } unusable[] = {
        {-EPERM, 4, "permission denied opening /dev/kvtest: run as root"},
        {-EACCES, 4, "permission denied opening /dev/kvtest: run as root"},
        {-ENOENT, 3,
         "no device node /dev/kvtest: is the controller driver loaded? (give the node with "
         "--device); " +
             hint},
        {-ENODEV, 3, "no driver behind /dev/kvtest: is the controller driver loaded?; " + hint},
    };
    for (const auto& c : unusable) {
        ProbeDevice denied;
        denied.openResult = c.openResult;
        set = kvi::openPassThrough("/dev/kvtest", root.string(), denied.ops());
        EXPECT_TRUE(set.controllers.empty());
        EXPECT_EQ(kvi::exitCodeFor(set.fault), c.exit) << c.message;
        EXPECT_EQ(kvi::noControllerMessage("/dev/kvtest", set),
                  "no controller reachable through /dev/kvtest: " + c.message);
        EXPECT_TRUE(denied.seen.empty()) << "an unusable device stops discovery at once";
    }
    // A failure found while sending (not while opening) asks for root once too.
    kvi::TransportSet denied;
    denied.fault = kvi::TransportFault::PermissionDenied;
    denied.error = "permission denied sending X through /dev/kvtest: run as root";
    EXPECT_EQ(kvi::noControllerMessage("/dev/kvtest", denied),
              "no controller reachable through /dev/kvtest: " + denied.error);

    set = kvi::openPassThrough("/dev/kvtest", (root / "nothing").string(), dev.ops());
    EXPECT_EQ(kvi::exitCodeFor(set.fault), 3);
    EXPECT_NE(set.error.find("no SCSI hosts"), std::string::npos);
}

// "domain:bus:device.function" in hex; the link width is left alone.
TEST(Discovery, PciNames) {
    using Loc = std::tuple<bool, std::uint32_t, std::uint32_t, unsigned, unsigned, unsigned>;
    const std::pair<const char*, Loc> cases[] = {
        // clang-format off
        {"0000:3b:00.0", {true, 0, 0x3b, 0, 0, 4}}, {"0001:AF:1f.7", {true, 1, 0xaf, 0x1f, 7, 4}},
        {"10000:00:02.3", {true, 0x10000, 0, 2, 3, 4}}, {"0000:3b:00", {}}, {"0000:3b:20.0", {}},
        {"0000:3b:00.8", {}}, {"pci0000:00", {}}, {"00:3b:00.0", {}}, {"0000:3g:00.0", {}}, {"host2", {}},
        // clang-format on
    };
    for (const auto& [text, want] : cases) {
        kvi::PciLocation loc;
        loc.linkWidth = 4;
        const bool ok = kvi::parsePciName(text, loc);
        EXPECT_EQ(ok ? Loc(ok, loc.domain, loc.bus, loc.device, loc.function, loc.linkWidth)
                     : Loc(),
                  want)
            << text;
    }
}

} // namespace
