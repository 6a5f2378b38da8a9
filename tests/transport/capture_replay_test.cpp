// Capture and replay: a scripted run recorded through CaptureBackend replays
// with the same answers; tampering and malformed files fail with messages
// that name what is wrong; lock-key passphrases never reach a capture.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Controller.h"
#include "provider/DpParams.h"
#include "tests/support/FakeController.h"
#include "tests/support/ScratchDir.h"
#include "tests/support/TestData.h"
#include "transport/Capture.h"
#include "transport/Replay.h"

namespace {

using kvitest::FakeAnswer;

std::vector<std::string> linesOf(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> out;
    for (std::string l; std::getline(in, l);)
        out.push_back(l);
    return out;
}

// What one scripted run saw: status, buffer and mailbox after each request.
struct Outcome {
    int status;
    std::vector<unsigned char> buffer;
    std::uint32_t w1, w2;
    bool operator==(const Outcome& o) const {
        return status == o.status && buffer == o.buffer && w1 == o.w1 && w2 == o.w2;
    }
};

// A lock-key record: its passphrases and key id reach the controller whole and
// a capture as zeros of its length, marked redacted.
KV_CTRL_LOCK_KEY_PARAMS lockKey() {
    KV_CTRL_LOCK_KEY_PARAMS key{};
    std::memcpy(key.lockKeyPassPhrase.passPhrase, "Secret#Pass1234", 15);
    std::memcpy(key.backupPassPhrase.passPhrase, "Backup#Pass5678", 15);
    std::memcpy(key.keyId, "KEYID-1", 7);
    return key;
}

// A representative run: reads, a write, a both, a no-data command, a
// mailbox-answering read, a failing read, a driver command and a lock key.
std::vector<Outcome> runScript(Controller& ctrl) {
    std::vector<Outcome> out;
    auto dcmd = [&](std::uint32_t opcode, std::uint8_t b0, std::uint32_t w0, std::size_t size,
                    std::uint32_t length, unsigned char fill) {
        std::vector<unsigned char> buffer(size, fill);
        DCMD_MBOX mbox{};
        mbox.w[0] = w0;
        mbox.b[0] = mbox.b[0] | b0;
        DcmdKviDpParams p(opcode, mbox, size ? buffer.data() : nullptr, length, 0, 0);
        int status = ctrl.execute(&p);
        out.push_back(Outcome{status, buffer, p.getmboxW1(), p.getmboxW2()});
    };
    dcmd(KV_DCMD_CTRL_GET_INFO, 0, 0, sizeof(KV_CTRL_INFO), 0, 0);
    dcmd(KV_DCMD_CTRL_PROPERTIES_GET, 1, 0, 128, 128, 0);
    dcmd(KV_DCMD_CTRL_PROPERTIES_SET, 0, 0, 64, 0, 0x42);
    dcmd(KV_DCMD_CFG_AUTOCFG, 0, 5, 8, 0, 0x11);
    dcmd(KV_DCMD_CTRL_PR_SUSPEND_RESUME, 1, 0, 0, 0, 0);
    dcmd(KV_DCMD_CTRL_AEC_GET, 0, 5, 64, 64, 0);
    dcmd(KV_DCMD_BBU_GET_STATUS, 0, 0, 64, 0, 0);
    dcmd(KV_DCMD_CTRL_GET_INFO, 0, 0, sizeof(KV_CTRL_INFO), 0, 0);
    std::vector<unsigned char> version(sizeof(KV_DRV_DRIVER_VERSION));
    DriverKviDPParams drv(KV_DRV_GET_DRIVER_VERSION, 0, 0, 0, version.data(), 0, 0, 0);
    int status = ctrl.execute(&drv);
    out.push_back(Outcome{status, version, drv.getmboxW1(), drv.getmboxW2()});
    KV_CTRL_LOCK_KEY_PARAMS key = lockKey();
    DcmdKviDpParams create(KV_DCMD_CTRL_LOCK_KEY_CREATE, DCMD_MBOX{},
                           reinterpret_cast<unsigned char*>(&key), 0, 0, 0);
    status = ctrl.execute(&create);
    out.push_back(Outcome{status, {}, create.getmboxW1(), create.getmboxW2()});
    return out;
}

void scriptFake(kvitest::FakeBackend& fake) {
    KV_CTRL_INFO info{};
    std::memcpy(info.productName, "Example 16i", 11);
    fake.answer(KV_DCMD_CTRL_GET_INFO, FakeAnswer::record(info));
    fake.answer(KV_DCMD_CTRL_PROPERTIES_GET, FakeAnswer::ok(kvitest::Bytes(128, 0x77)));
    fake.answer(KV_DCMD_CFG_AUTOCFG, FakeAnswer::ok({1, 2, 3, 4, 5, 6, 7, 8}));
    fake.answer(
        KV_DCMD_CTRL_AEC_GET,
        FakeAnswer::ok(kvitest::Bytes(64, 0x99)).withMboxWord(1, 17).withMboxWord(2, 0xABCD));
    fake.answer(KV_DCMD_BBU_GET_STATUS, FakeAnswer::fail(KVI_STAT_NO_HW_PRESENT));
    KV_DRV_DRIVER_VERSION version{};
    std::memcpy(version.driverVersion, "07.725", 6);
    fake.answer(KV_DRV_GET_DRIVER_VERSION, FakeAnswer::record(version));
    fake.pci.bus = 0x3b;
    fake.pci.linkWidth = 8;
    fake.driverNameText = "kvdrv";
    fake.driverVersionText = "07.725.01.00";
}

// Records the script as controller `index` into `path` (with the host fact
// "now" when `now` is given); the live outcomes.
std::vector<Outcome> recordScript(const std::string& path, unsigned index = 0,
                                  const char* now = nullptr) {
    std::string error;
    auto writer = kvi::CaptureWriter::open(path, error);
    EXPECT_TRUE(writer) << error;
    if (now != nullptr)
        writer->recordFact("now", now);
    kvitest::FakeBackend fake;
    scriptFake(fake);
    kvi::CaptureBackend capture(fake, writer, index);
    BackendController ctrl(capture);
    auto live = runScript(ctrl);
    EXPECT_EQ(fake.requests().size(), live.size());
    const KV_CTRL_LOCK_KEY_PARAMS key = lockKey();
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&key);
    const kvitest::FakeRequest* sent = fake.last(KV_DCMD_CTRL_LOCK_KEY_CREATE);
    EXPECT_TRUE(sent && sent->sent == kvitest::Bytes(bytes, bytes + sizeof key));
    // Nothing lands at the target before the capture is finished.
    EXPECT_TRUE(linesOf(path).empty());
    EXPECT_TRUE(writer->finish()) << writer->error();
    return live;
}

// The capture of the script, line by line, is data/script-capture.jsonl
// (regenerate with KVI_UPDATE_GOLDEN=1 and review the diff); a replay gives
// the captured answers (status, buffer, mailbox) and host facts.
TEST(CaptureReplay, CaptureHoldsEachRequestAndReplaysItsAnswer) {
    kvitest::ScratchDir dir("kvi-capture");
    const std::vector<Outcome> live = recordScript(dir.file("c.jsonl"), 0, "1700000000");
    ASSERT_EQ(live[6].status, KVI_STAT_NO_HW_PRESENT);
    ASSERT_EQ(live[5].w1, 17u);
    std::string text;
    for (const std::string& l : linesOf(dir.file("c.jsonl")))
        text += l + "\n";
    EXPECT_EQ(text, kvitest::golden("tests/transport/data/script-capture.jsonl", text));

    std::string error;
    auto log = kvi::ReplayLog::load(dir.file("c.jsonl"), error);
    ASSERT_TRUE(log) << error;
    EXPECT_EQ(log->controllerCount(), 1u);
    EXPECT_EQ(log->fact("now").value_or(""), "1700000000");
    EXPECT_FALSE(log->fact("other").has_value());
    kvi::ReplayBackend replay(log, 0);
    EXPECT_EQ(replay.remaining(), live.size());
    BackendController ctrl(replay);
    std::vector<Outcome> again = runScript(ctrl);
    ASSERT_EQ(again.size(), live.size());
    for (std::size_t i = 0; i < live.size(); ++i)
        EXPECT_TRUE(again[i] == live[i]) << "request " << i << ": " << replay.lastError();
    EXPECT_EQ(replay.remaining(), 0u);
    KV_DRV_PCI_INFORMATION pci;
    ASSERT_EQ(ctrl.getPciInfo(&pci), 0);
    EXPECT_EQ(pci.busNumber, 0x3bu);
    EXPECT_EQ(pci.capability.linkCapability.linkWidth, 8u);
    EXPECT_EQ(replay.driverName(), "kvdrv");
    EXPECT_EQ(replay.driverVersion(), "07.725.01.00");
}

// A capture of the script with line `line` (0 header, 1 controller, 2.. the
// requests) edited: `from` replaced by `to`, or the line removed when `from`
// is empty. The replay fails at request `failedAt` (and every later one)
// with a message holding `sent` and `recorded`.
TEST(CaptureReplay, TamperedCaptureNamesBothRequests) {
    const struct {
        std::size_t line;
        const char* from;
        const char* to;
        int failedAt;
        const char* sent;
        const char* recorded;
    } cases[] = {
        {3, "\"mbox\":\"01", "\"mbox\":\"02", 1,
         "request 2: the command sent KV_DCMD_CTRL_PROPERTIES_GET (0x01020100) mailbox "
         "010000000000000000000000 length 128",
         "line 4 recorded KV_DCMD_CTRL_PROPERTIES_GET (0x01020100) mailbox "
         "020000000000000000000000 length 128"},
        {4, "", "", 2, "sent KV_DCMD_CTRL_PROPERTIES_SET (0x01020200)",
         "recorded KV_DCMD_CFG_AUTOCFG (0x04070100)"},
        {2, "\"length\":2464", "\"length\":2460", 0, "length 2464, but the capture", "length 2460"},
        {11, "", "", 9, "sent KV_DCMD_CTRL_LOCK_KEY_CREATE (",
         "holds no more requests (it recorded 9)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.sent);
        kvitest::ScratchDir dir("kvi-capture");
        const std::string file = dir.file("c.jsonl");
        recordScript(file);
        auto all = linesOf(file);
        ASSERT_GT(all.size(), c.line);
        if (*c.from == 0) {
            all.erase(all.begin() + static_cast<long>(c.line));
        } else {
            std::string& l = all[c.line];
            ASSERT_NE(l.find(c.from), std::string::npos) << l;
            l.replace(l.find(c.from), std::strlen(c.from), c.to);
            if (c.line == 2) // the shorter length receives 4 bytes less
                l.erase(l.find("\"received\":\"") + 12, 8);
        }
        std::ofstream out(file);
        for (const auto& l : all)
            out << l << "\n";
        out.close();
        std::string error;
        auto log = kvi::ReplayLog::load(file, error);
        ASSERT_TRUE(log) << error;
        kvi::ReplayBackend replay(log, 0);
        BackendController ctrl(replay);
        auto outcomes = runScript(ctrl);
        for (std::size_t i = 0; i < outcomes.size(); ++i)
            EXPECT_EQ(outcomes[i].status == kvi::kReplayMismatch, static_cast<int>(i) >= c.failedAt)
                << "request " << i;
        EXPECT_NE(replay.lastError().find(c.sent), std::string::npos) << replay.lastError();
        EXPECT_NE(replay.lastError().find(c.recorded), std::string::npos) << replay.lastError();
    }
}

// Each malformed capture of data/bad-captures.txt is refused with a message
// naming the line and the fault; a good one in upper-case hex, with an SMP
// request to port 0, loads.
TEST(CaptureReplay, MalformedFilesNameTheLine) {
    const std::string data = std::string(KVI_SOURCE_DIR) + "/tests/transport/data/";
    const std::vector<std::string> lines = linesOf(data + "bad-captures.txt");
    unsigned cases = 0;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].rfind("=> ", 0) != 0)
            continue;
        std::size_t end = i + 1;
        while (end < lines.size() && lines[end].rfind("=> ", 0) != 0)
            ++end;
        while (end > i + 1 && lines[end - 1].empty())
            --end;
        std::string text;
        for (std::size_t j = i + 1; j < end; ++j)
            text += lines[j] + "\n";
        std::istringstream in(text);
        std::string error;
        EXPECT_FALSE(kvi::ReplayLog::parse(in, "cap.jsonl", error)) << text;
        EXPECT_NE(error.find("capture cap.jsonl " + lines[i].substr(3)), std::string::npos)
            << "got: " << error << "\nwant: " << lines[i];
        ++cases;
    }
    EXPECT_GT(cases, 15u);

    std::string error;
    auto log = kvi::ReplayLog::load(data + "upper-case.jsonl", error);
    ASSERT_TRUE(log) << error;
    const auto& requests = log->controller(0).requests;
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].line, 3u);
    EXPECT_EQ(requests[0].received, std::vector<std::uint8_t>{0xF3});
    EXPECT_EQ(requests[1].port, 0u);
    EXPECT_EQ(requests[1].received, (std::vector<std::uint8_t>{0xAF, 0x41}));

    EXPECT_FALSE(kvi::ReplayLog::load("/nonexistent/kvi.jsonl", error));
    EXPECT_NE(error.find("cannot read the capture: /nonexistent/kvi.jsonl: cannot open"),
              std::string::npos)
        << error;
    EXPECT_FALSE(kvi::CaptureWriter::open("/nonexistent/dir/kvi.jsonl", error));
    EXPECT_NE(error.find("/nonexistent/dir/kvi.jsonl: the folder /nonexistent/dir does not exist"),
              std::string::npos)
        << error;
}

TEST(CaptureReplay, ControllersReplayIndependentlyAndSmpRoundTrips) {
    kvitest::ScratchDir dir("kvi-capture");
    unsigned char byte = 0;
    kvi::DirectCommand alarm;
    alarm.opcode = KV_DCMD_CTRL_ALARM_GET;
    alarm.data = &byte;
    alarm.length = 1;
    alarm.direction = kvi::Direction::Read;
    kvi::DirectCommand time;
    time.opcode = KV_DCMD_CTRL_TIME_GET;
    unsigned char request[4] = {0x40, 0x10, 0, 0}, other[4] = {0x40, 0x11, 0, 0};
    std::vector<unsigned char> response(8), response0(8);
    kvi::SmpCommand smp;
    smp.sasAddress = 0x500605B000000001ull;
    smp.port = 2;
    smp.request = request;
    smp.requestLength = 4;
    smp.response = response0.data();
    smp.responseLength = 8;
    {
        std::string error;
        auto writer = kvi::CaptureWriter::open(dir.file("c.jsonl"), error);
        ASSERT_TRUE(writer);
        struct Explaining : kvitest::FakeBackend {
            std::string lastError() const override { return "host0 did not answer in time"; }
        } a;
        kvitest::FakeBackend b;
        a.answer(KV_DCMD_CTRL_ALARM_GET, FakeAnswer::ok({1}));
        b.answer(KV_DCMD_CTRL_ALARM_GET, FakeAnswer::ok({2}));
        b.pciStatus = -1;
        b.answerSmp(FakeAnswer::ok({0x41, 0x10, 0, 0, 9, 9, 9, 9}));
        kvi::CaptureBackend ca(a, writer, 0), cb(b, writer, 1);
        ASSERT_EQ(cb.submit(alarm), 0);
        ASSERT_EQ(ca.submit(alarm), 0);
        ASSERT_EQ(cb.submitSmp(smp), 0);
        // A backend failure is recorded with its message.
        a.answer(KV_DCMD_CTRL_TIME_GET, FakeAnswer::fail(kvi::kTransportFailed));
        ASSERT_EQ(ca.submit(time), kvi::kTransportFailed);
        ASSERT_TRUE(writer->finish()) << writer->error();
    }
    std::string error;
    auto log = kvi::ReplayLog::load(dir.file("c.jsonl"), error);
    ASSERT_TRUE(log) << error;
    ASSERT_EQ(log->controllerCount(), 2u);
    kvi::ReplayBackend ra(log, 0), rb(log, 1), rc(log, 1);
    kvi::PciLocation loc;
    EXPECT_EQ(rb.pciLocation(loc), -1) << "a failing PCI answer replays as the same failure";
    ASSERT_EQ(ra.submit(alarm), 0);
    EXPECT_EQ(byte, 1);
    EXPECT_EQ(ra.submit(time), kvi::kTransportFailed);
    EXPECT_EQ(ra.lastError(), "host0 did not answer in time") << "the message is kept";
    ASSERT_EQ(rb.submit(alarm), 0);
    EXPECT_EQ(byte, 2);

    smp.response = response.data();
    kvi::SmpCommand wrong = smp;
    wrong.request = other;
    ASSERT_EQ(rc.submit(alarm), 0);
    EXPECT_EQ(rc.submitSmp(wrong), kvi::kReplayMismatch);
    EXPECT_NE(rc.lastError().find("request 40110000"), std::string::npos) << rc.lastError();
    EXPECT_NE(rc.lastError().find("recorded SMP to 0x500605B000000001 port 2 request 40100000"),
              std::string::npos)
        << rc.lastError();
    ASSERT_EQ(rb.submitSmp(smp), 0);
    EXPECT_EQ(response, response0);
    EXPECT_EQ(rb.submitSmp(smp), kvi::kReplayMismatch) << "past the end";
    EXPECT_EQ(response[0], 0x41);
    EXPECT_EQ(rb.remaining(), 0u);
}

} // namespace
