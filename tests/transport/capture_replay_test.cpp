// Capture and replay: a scripted run recorded through CaptureBackend replays
// with the same answers; tampering and malformed files fail with messages
// that name what is wrong; lock-key passphrases never reach a capture.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>
#include <vector>

#include "firmware/kv.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Controller.h"
#include "provider/DpParams.h"
#include "tests/support/FakeController.h"
#include "transport/Capture.h"
#include "transport/Replay.h"

namespace fs = std::filesystem;

namespace {

std::string readFile(const fs::path& path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);)
        out.push_back(l);
    return out;
}

class TempFile {
public:
    TempFile() {
        std::string tmpl = (fs::temp_directory_path() / "kvi-capture-XXXXXX").string();
        int fd = mkstemp(tmpl.data());
        EXPECT_GE(fd, 0);
        if (fd >= 0)
            close(fd);
        path = tmpl;
    }
    ~TempFile() {
        std::error_code ec;
        fs::remove(path, ec);
    }
    fs::path path;
};

// What one scripted run saw: status, buffer and mailbox after each request.
struct Outcome {
    int status;
    std::vector<unsigned char> buffer;
    std::uint32_t w1, w2;
    bool operator==(const Outcome& o) const {
        return status == o.status && buffer == o.buffer && w1 == o.w1 && w2 == o.w2;
    }
};

// A representative run: reads, a write, a both, a no-data command, a
// mailbox-answering read, a failing read, and a driver command.
std::vector<Outcome> runScript(Controller& ctrl) {
    std::vector<Outcome> out;
    auto dcmd = [&](std::uint32_t opcode, DCMD_MBOX mbox, std::size_t size, std::uint32_t length,
                    unsigned char fill) {
        std::vector<unsigned char> buffer(size, fill);
        DcmdKviDpParams p(opcode, mbox, size ? buffer.data() : nullptr, length, 0, 0);
        int status = ctrl.execute(&p);
        out.push_back(Outcome{status, buffer, p.getmboxW1(), p.getmboxW2()});
    };
    DCMD_MBOX zero{};
    DCMD_MBOX ext{};
    ext.b[0] = 1;
    DCMD_MBOX aec{};
    aec.w[0] = 5;
    dcmd(KV_DCMD_CTRL_GET_INFO, zero, sizeof(KV_CTRL_INFO), 0, 0);
    dcmd(KV_DCMD_CTRL_PROPERTIES_GET, ext, 128, 128, 0);
    dcmd(KV_DCMD_CTRL_PROPERTIES_SET, zero, 64, 0, 0x42);
    dcmd(KV_DCMD_CFG_AUTOCFG, aec, 8, 0, 0x11);
    dcmd(KV_DCMD_CTRL_PR_SUSPEND_RESUME, ext, 0, 0, 0);
    dcmd(KV_DCMD_CTRL_AEC_GET, aec, 64, 64, 0);
    dcmd(KV_DCMD_BBU_GET_STATUS, zero, 64, 0, 0);
    dcmd(KV_DCMD_CTRL_GET_INFO, zero, sizeof(KV_CTRL_INFO), 0, 0);

    std::vector<unsigned char> version(sizeof(KV_DRV_DRIVER_VERSION));
    DriverKviDPParams drv(KV_DRV_GET_DRIVER_VERSION, 0, 0, 0, version.data(), 0, 0, 0);
    int status = ctrl.execute(&drv);
    out.push_back(Outcome{status, version, drv.getmboxW1(), drv.getmboxW2()});
    return out;
}

void scriptFake(kvitest::FakeBackend& fake) {
    KV_CTRL_INFO info{};
    std::memcpy(info.productName, "Example 16i", 11);
    fake.answer(KV_DCMD_CTRL_GET_INFO, kvitest::FakeAnswer::record(info));
    fake.answer(KV_DCMD_CTRL_PROPERTIES_GET, kvitest::FakeAnswer::ok(kvitest::Bytes(128, 0x77)));
    fake.answer(KV_DCMD_CFG_AUTOCFG, kvitest::FakeAnswer::ok({1, 2, 3, 4, 5, 6, 7, 8}));
    fake.answer(KV_DCMD_CTRL_AEC_GET, kvitest::FakeAnswer::ok(kvitest::Bytes(64, 0x99))
                                          .withMboxWord(1, 17)
                                          .withMboxWord(2, 0xABCD));
    fake.answer(KV_DCMD_BBU_GET_STATUS, kvitest::FakeAnswer::fail(KVI_STAT_NO_HW_PRESENT));
    KV_DRV_DRIVER_VERSION version{};
    std::memcpy(version.driverVersion, "07.725", 6);
    fake.answer(KV_DRV_GET_DRIVER_VERSION, kvitest::FakeAnswer::record(version));
    fake.pci.domain = 0;
    fake.pci.bus = 0x3b;
    fake.pci.device = 0;
    fake.pci.function = 0;
    fake.pci.linkWidth = 8;
    fake.driverNameText = "kvdrv";
    fake.driverVersionText = "07.725.01.00";
}

TEST(CaptureReplay, ReplayGivesTheCapturedAnswersAndHostFacts) {
    TempFile file;
    std::vector<Outcome> live;
    {
        std::string error;
        auto writer = kvi::CaptureWriter::open(file.path.string(), error);
        ASSERT_TRUE(writer) << error;
        writer->recordFact("now", "1700000000");
        kvitest::FakeBackend fake;
        scriptFake(fake);
        kvi::CaptureBackend capture(fake, writer, 0);
        BackendController ctrl(capture);
        live = runScript(ctrl);
        EXPECT_EQ(fake.requests().size(), live.size());
        EXPECT_FALSE(writer->failed());
        ASSERT_TRUE(writer->finish()) << writer->error();
    }
    ASSERT_EQ(live[6].status, KVI_STAT_NO_HW_PRESENT);
    ASSERT_EQ(live[5].w1, 17u);

    std::string error;
    auto log = kvi::ReplayLog::load(file.path.string(), error);
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

TEST(CaptureReplay, EachLineHoldsTheRequestAndLandsWhenFinished) {
    TempFile file;
    std::string error;
    auto writer = kvi::CaptureWriter::open(file.path.string(), error);
    ASSERT_TRUE(writer) << error;
    kvitest::FakeBackend fake;
    scriptFake(fake);
    kvi::CaptureBackend capture(fake, writer, 2);
    BackendController ctrl(capture);

    unsigned char props[64];
    std::memset(props, 0x42, sizeof props);
    DcmdKviDpParams set(KV_DCMD_CTRL_PROPERTIES_SET, 0, 0, 0, props, 0, 0, 0);
    ASSERT_EQ(ctrl.execute(&set), 0);

    // Nothing lands at the target before the capture is finished.
    EXPECT_TRUE(readFile(file.path).empty());
    ASSERT_TRUE(writer->finish());
    auto text = lines(readFile(file.path));
    ASSERT_EQ(text.size(), 3u);
    EXPECT_EQ(text[0], R"({"format":"kvictl-capture","type":"capture","version":1})");
    EXPECT_NE(text[1].find(R"("controller":2)"), std::string::npos);
    EXPECT_NE(text[1].find(R"("bus":59)"), std::string::npos);
    EXPECT_NE(text[1].find(R"("driverName":"kvdrv")"), std::string::npos);
    const std::string& req = text[2];
    for (const char* part :
         {R"("type":"dcmd")", R"("opcode":"0x01020200")", R"("name":"KV_DCMD_CTRL_PROPERTIES_SET")",
          R"("kind":"firmware")", R"("direction":"write")", R"("length":64)", R"("status":0)",
          R"("mbox":"000000000000000000000000")", R"("controller":2)"})
        EXPECT_NE(req.find(part), std::string::npos) << part << " in " << req;
    std::string sentHex;
    for (int i = 0; i < 64; ++i)
        sentHex += "42";
    EXPECT_NE(req.find("\"sent\":\"" + sentHex + "\""), std::string::npos);
    EXPECT_EQ(req.find("received"), std::string::npos) << "a write receives nothing";
    EXPECT_EQ(req.find("redacted"), std::string::npos);
}

TEST(CaptureReplay, LockKeyPassphrasesNeverReachTheCapture) {
    const char* secrets[] = {"Secret#Pass1234", "Backup#Pass5678", "Escrow#Key0042",
                             "Suggest#Pass99"};
    TempFile file;
    kvitest::FakeBackend fake;
    KV_CTRL_LOCK_KEY_PASSPHRASE suggested{};
    std::memcpy(suggested.passPhrase, secrets[3], std::strlen(secrets[3]));
    fake.answer(KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, kvitest::FakeAnswer::record(suggested));
    {
        std::string error;
        auto writer = kvi::CaptureWriter::open(file.path.string(), error);
        ASSERT_TRUE(writer) << error;
        kvi::CaptureBackend capture(fake, writer, 0);
        BackendController ctrl(capture);

        KV_CTRL_LOCK_KEY_PARAMS params{};
        std::memcpy(params.lockKeyPassPhrase.passPhrase, secrets[0], std::strlen(secrets[0]));
        std::memcpy(params.backupPassPhrase.passPhrase, secrets[1], std::strlen(secrets[1]));
        std::memcpy(params.keyId, "KEYID-1", 7);
        DCMD_MBOX mbox{};
        mbox.b[0] = 1;
        DcmdKviDpParams create(KV_DCMD_CTRL_LOCK_KEY_CREATE, mbox,
                               reinterpret_cast<unsigned char*>(&params), 0, 0, 0);
        ASSERT_EQ(ctrl.execute(&create), 0);

        KV_CTRL_LOCK_KEY_FROM_ESCROW escrow{};
        std::memcpy(escrow.lockKeyPassPhrase.passPhrase, secrets[0], std::strlen(secrets[0]));
        std::memcpy(escrow.escrow.escrowLockKey, secrets[2], std::strlen(secrets[2]));
        for (std::uint32_t opcode :
             {KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW, KV_DCMD_CTRL_LOCK_KEY_REKEY,
              KV_DCMD_CTRL_LOCK_KEY_FROM_ESCROW}) {
            DcmdKviDpParams p(opcode, mbox, reinterpret_cast<unsigned char*>(&escrow), 0, 0, 0);
            ASSERT_EQ(ctrl.execute(&p), 0);
        }
        KV_CTRL_LOCK_KEY_PASSPHRASE got{};
        DcmdKviDpParams suggest(KV_DCMD_CTRL_LOCK_KEY_SUGGEST_PASSPHRASE, 0, 0, 0,
                                reinterpret_cast<unsigned char*>(&got), 0, 0, 0);
        ASSERT_EQ(ctrl.execute(&suggest), 0);
        EXPECT_STREQ(reinterpret_cast<const char*>(got.passPhrase), secrets[3])
            << "the caller gets the real answer";
        ASSERT_TRUE(writer->finish()) << writer->error();
    }
    // The controller got the real bytes.
    ASSERT_NE(fake.last(KV_DCMD_CTRL_LOCK_KEY_CREATE), nullptr);
    EXPECT_EQ(std::memcmp(fake.last(KV_DCMD_CTRL_LOCK_KEY_CREATE)->sent.data(), secrets[0],
                          std::strlen(secrets[0])),
              0);

    const std::string text = readFile(file.path);
    for (const char* secret : secrets) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(secret);
        std::string hex;
        char two[3];
        for (std::size_t i = 0; i < std::strlen(secret); ++i) {
            std::snprintf(two, sizeof two, "%02x", bytes[i]);
            hex += two;
        }
        EXPECT_EQ(text.find(secret), std::string::npos) << secret;
        EXPECT_EQ(text.find(hex.substr(0, 8)), std::string::npos) << secret << " as hex";
    }
    auto all = lines(text);
    ASSERT_EQ(all.size(), 2u + 5u);
    EXPECT_NE(all[2].find("\"sent\":\"" + std::string(364 * 2, '0') + "\""), std::string::npos);
    EXPECT_NE(all[3].find("\"sent\":\"" + std::string(104 * 2, '0') + "\""), std::string::npos);
    for (std::size_t i = 2; i < all.size(); ++i)
        EXPECT_NE(all[i].find("\"redacted\":true"), std::string::npos) << all[i];
    EXPECT_NE(all[6].find("\"received\":\"" + std::string(36 * 2, '0') + "\""), std::string::npos);

    // Redacted requests still replay: they match on opcode, mailbox and length.
    std::string error;
    auto log = kvi::ReplayLog::load(file.path.string(), error);
    ASSERT_TRUE(log) << error;
    kvi::ReplayBackend replay(log, 0);
    BackendController ctrl(replay);
    KV_CTRL_LOCK_KEY_PARAMS other{};
    std::memcpy(other.lockKeyPassPhrase.passPhrase, "different", 9);
    DCMD_MBOX mbox{};
    mbox.b[0] = 1;
    DcmdKviDpParams create(KV_DCMD_CTRL_LOCK_KEY_CREATE, mbox,
                           reinterpret_cast<unsigned char*>(&other), 0, 0, 0);
    EXPECT_EQ(ctrl.execute(&create), 0) << replay.lastError();
}

// Replays the script against a capture whose text was edited by `tamper`.
std::string replayTampered(const std::function<void(std::vector<std::string>&)>& tamper,
                           int& failedAt) {
    TempFile file;
    {
        std::string error;
        auto writer = kvi::CaptureWriter::open(file.path.string(), error);
        kvitest::FakeBackend fake;
        scriptFake(fake);
        kvi::CaptureBackend capture(fake, writer, 0);
        BackendController ctrl(capture);
        runScript(ctrl);
        EXPECT_TRUE(writer->finish()) << writer->error();
    }
    auto all = lines(readFile(file.path));
    tamper(all);
    {
        std::ofstream out(file.path);
        for (const auto& l : all)
            out << l << "\n";
    }
    std::string error;
    auto log = kvi::ReplayLog::load(file.path.string(), error);
    if (!log)
        return "load: " + error;
    kvi::ReplayBackend replay(log, 0);
    BackendController ctrl(replay);
    auto outcomes = runScript(ctrl);
    failedAt = -1;
    for (std::size_t i = 0; i < outcomes.size(); ++i)
        if (outcomes[i].status == kvi::kReplayMismatch) {
            failedAt = static_cast<int>(i);
            break;
        }
    // Once mismatched, every later request fails too.
    for (std::size_t i = failedAt < 0 ? outcomes.size() : static_cast<std::size_t>(failedAt);
         i < outcomes.size(); ++i)
        EXPECT_EQ(outcomes[i].status, kvi::kReplayMismatch) << "request " << i;
    return replay.lastError();
}

TEST(CaptureReplay, TamperedCaptureNamesBothRequests) {
    // Lines: 0 header, 1 controller, 2.. the requests in script order.
    int failedAt = 0;
    std::string message = replayTampered(
        [](std::vector<std::string>& l) {
            auto pos = l[3].find("\"mbox\":\"01");
            ASSERT_NE(pos, std::string::npos);
            l[3].replace(pos, 10, "\"mbox\":\"02");
        },
        failedAt);
    EXPECT_EQ(failedAt, 1);
    EXPECT_NE(message.find("request 2"), std::string::npos) << message;
    EXPECT_NE(message.find("the command sent KV_DCMD_CTRL_PROPERTIES_GET (0x01020100) mailbox "
                           "010000000000000000000000 length 128"),
              std::string::npos)
        << message;
    EXPECT_NE(message.find("line 4 recorded KV_DCMD_CTRL_PROPERTIES_GET (0x01020100) mailbox "
                           "020000000000000000000000 length 128"),
              std::string::npos)
        << message;

    message = replayTampered([](std::vector<std::string>& l) { l.erase(l.begin() + 4); }, failedAt);
    EXPECT_EQ(failedAt, 2);
    EXPECT_NE(message.find("sent KV_DCMD_CTRL_PROPERTIES_SET (0x01020200)"), std::string::npos)
        << message;
    EXPECT_NE(message.find("recorded KV_DCMD_CFG_AUTOCFG (0x04070100)"), std::string::npos)
        << message;

    message = replayTampered(
        [](std::vector<std::string>& l) {
            auto pos = l[2].find("\"length\":2464");
            ASSERT_NE(pos, std::string::npos);
            l[2].replace(pos, 13, "\"length\":2460");
            pos = l[2].find("\"received\":\"");
            l[2].erase(pos + 12, 8);
        },
        failedAt);
    EXPECT_EQ(failedAt, 0);
    EXPECT_NE(message.find("length 2464, but the capture"), std::string::npos) << message;
    EXPECT_NE(message.find("length 2460"), std::string::npos) << message;

    message = replayTampered([](std::vector<std::string>& l) { l.pop_back(); }, failedAt);
    EXPECT_EQ(failedAt, 8);
    EXPECT_NE(message.find("sent KV_DRV_GET_DRIVER_VERSION (0xF0010100)"), std::string::npos)
        << message;
    EXPECT_NE(message.find("holds no more requests (it recorded 8)"), std::string::npos) << message;
}

TEST(CaptureReplay, MalformedFilesNameTheLine) {
    const std::string head = R"({"type":"capture","format":"kvictl-capture","version":1})";
    const std::string ctl =
        R"({"type":"controller","controller":0,"pci":{"status":0,"domain":0,"bus":1,"device":0,"function":0,"linkWidth":8},"driverName":"d","driverVersion":"v"})";
    const std::string req =
        R"({"type":"dcmd","controller":0,"kind":"firmware","opcode":"0x01030100","mbox":"000000000000000000000000","direction":"read","length":1,"status":0,"received":"03","mboxAfter":"000000000000000000000000"})";
    struct Case {
        std::string text;
        const char* expect;
    } cases[] = {
        {"", "line 1: empty file"},
        {"{\"type\":\"dcmd\"}\n", "line 1: not a kvictl capture"},
        {R"({"type":"capture","format":"kvictl-capture","version":2})",
         "line 1: capture version 2 is not supported"},
        {head + "\n" + ctl + "\n{nope\n", "line 3: not valid JSON"},
        {head + "\n[1,2]\n", "line 2: not a JSON object"},
        {head + "\n" + req + "\n", "line 2: request for controller 0, which no earlier"},
        {head + "\n" + ctl + "\n" + ctl + "\n", "line 3: controller 0 is declared twice"},
        {head + "\n" + ctl + "\n{\"type\":\"weird\"}\n", "line 3: unknown line type \"weird\""},
        {head + "\n" + ctl + "\n\n" +
             R"({"type":"dcmd","controller":0,"kind":"firmware","opcode":"0x01030100","mbox":"00","direction":"read","length":1,"status":0,"received":"03","mboxAfter":"000000000000000000000000"})",
         "line 4: \"mbox\" is not 12 bytes"},
        {head + "\n" + ctl + "\n" +
             R"({"type":"dcmd","controller":0,"kind":"firmware","opcode":"0x01030100","mbox":"000000000000000000000000","direction":"read","length":2,"status":0,"received":"03","mboxAfter":"000000000000000000000000"})",
         "line 3: \"received\" holds 1 bytes, not \"length\" 2"},
        {head + "\n" + ctl + "\n" +
             R"({"type":"dcmd","controller":0,"kind":"firmware","opcode":"1030100","mbox":"000000000000000000000000","direction":"read","length":1,"status":0,"received":"03","mboxAfter":"000000000000000000000000"})",
         "line 3: \"opcode\" is not a 0x hex number"},
        {head + "\n" + ctl + "\n" +
             R"({"type":"dcmd","controller":0,"kind":"firmware","opcode":"0x01030100","mbox":"000000000000000000000000","direction":"sideways","length":1,"status":0,"received":"03","mboxAfter":"000000000000000000000000"})",
         "line 3: \"direction\" is not none, read, write or both"},
        {head + "\n" + ctl + "\n" +
             R"({"type":"dcmd","controller":0,"kind":"firmware","opcode":"0x01030100","mbox":"000000000000000000000000","direction":"read","length":1,"status":0,"received":"zz","mboxAfter":"000000000000000000000000"})",
         "line 3: \"received\" is not hex bytes"},
        {head + "\n" + ctl + "\n" +
             R"({"type":"dcmd","controller":0,"kind":"firmware","opcode":"0x01030100","mbox":"000000000000000000000000","direction":"read","length":-1,"status":0,"received":"","mboxAfter":"000000000000000000000000"})",
         "line 3: \"length\" is out of range"},
        {head + "\n" + ctl + "\n" +
             R"({"type":"dcmd","controller":0,"kind":"firmware","opcode":"0x01030100","direction":"read","length":1,"status":0,"received":"03","mboxAfter":"000000000000000000000000"})",
         "line 3: missing \"mbox\""},
        {head + "\n" +
             R"({"type":"controller","controller":1,"pci":{"status":0,"domain":0,"bus":1,"device":0,"function":0,"linkWidth":8},"driverName":"d","driverVersion":"v"})",
         "line 3: controller 0 is never declared"},
    };
    for (const Case& c : cases) {
        std::istringstream in(c.text);
        std::string error;
        EXPECT_FALSE(kvi::ReplayLog::parse(in, "cap.jsonl", error)) << c.text;
        EXPECT_NE(error.find(std::string("capture cap.jsonl ") + c.expect), std::string::npos)
            << "got: " << error << "\nwant: " << c.expect;
    }

    std::istringstream good(head + "\n" + ctl + "\n" + req + "\n");
    std::string error;
    auto log = kvi::ReplayLog::parse(good, "cap.jsonl", error);
    ASSERT_TRUE(log) << error;
    EXPECT_EQ(log->controller(0).requests.at(0).line, 3u);

    EXPECT_FALSE(kvi::ReplayLog::load("/nonexistent/kvi.jsonl", error));
    EXPECT_NE(error.find("cannot read the capture: /nonexistent/kvi.jsonl: cannot open"),
              std::string::npos)
        << error;
    EXPECT_FALSE(kvi::CaptureWriter::open("/nonexistent/dir/kvi.jsonl", error));
    EXPECT_NE(error.find("/nonexistent/dir/kvi.jsonl: the folder /nonexistent/dir does not exist"),
              std::string::npos)
        << error;
}

// The one-byte alarm read and the SMP request that the two-controller test
// sends both while capturing and while replaying.
kvi::DirectCommand alarmRead(unsigned char& byte) {
    kvi::DirectCommand cmd;
    cmd.opcode = KV_DCMD_CTRL_ALARM_GET;
    cmd.data = &byte;
    cmd.length = 1;
    cmd.direction = kvi::Direction::Read;
    return cmd;
}

kvi::SmpCommand smpRequest(unsigned char* request, std::vector<unsigned char>& response) {
    kvi::SmpCommand smp;
    smp.sasAddress = 0x500605B000000001ull;
    smp.port = 2;
    smp.request = request;
    smp.requestLength = 4;
    smp.response = response.data();
    smp.responseLength = 8;
    return smp;
}

TEST(CaptureReplay, ControllersReplayIndependentlyAndSmpRoundTrips) {
    TempFile file;
    std::vector<unsigned char> response0(8);
    {
        std::string error;
        auto writer = kvi::CaptureWriter::open(file.path.string(), error);
        ASSERT_TRUE(writer);
        struct Explaining : kvitest::FakeBackend {
            std::string lastError() const override { return "host0 did not answer in time"; }
        } a;
        kvitest::FakeBackend b;
        a.answer(KV_DCMD_CTRL_ALARM_GET, kvitest::FakeAnswer::ok({1}));
        b.answer(KV_DCMD_CTRL_ALARM_GET, kvitest::FakeAnswer::ok({2}));
        b.pciStatus = -1;
        b.answerSmp(kvitest::FakeAnswer::ok({0x41, 0x10, 0, 0, 9, 9, 9, 9}));
        kvi::CaptureBackend ca(a, writer, 0), cb(b, writer, 1);
        unsigned char byte = 0;
        kvi::DirectCommand cmd = alarmRead(byte);
        ASSERT_EQ(cb.submit(cmd), 0);
        ASSERT_EQ(ca.submit(cmd), 0);
        unsigned char request[4] = {0x40, 0x10, 0, 0};
        kvi::SmpCommand smp = smpRequest(request, response0);
        ASSERT_EQ(cb.submitSmp(smp), 0);
        // A backend failure is recorded with its message.
        a.answer(KV_DCMD_CTRL_TIME_GET, kvitest::FakeAnswer::fail(kvi::kTransportFailed));
        kvi::DirectCommand none;
        none.opcode = KV_DCMD_CTRL_TIME_GET;
        ASSERT_EQ(ca.submit(none), kvi::kTransportFailed);
        ASSERT_TRUE(writer->finish()) << writer->error();
    }
    std::string error;
    auto log = kvi::ReplayLog::load(file.path.string(), error);
    ASSERT_TRUE(log) << error;
    ASSERT_EQ(log->controllerCount(), 2u);
    kvi::ReplayBackend ra(log, 0), rb(log, 1);
    kvi::PciLocation loc;
    EXPECT_EQ(rb.pciLocation(loc), -1) << "a failing PCI answer replays as the same failure";
    unsigned char byte = 0;
    kvi::DirectCommand cmd = alarmRead(byte);
    ASSERT_EQ(ra.submit(cmd), 0);
    EXPECT_EQ(byte, 1);
    kvi::DirectCommand none;
    none.opcode = KV_DCMD_CTRL_TIME_GET;
    EXPECT_EQ(ra.submit(none), kvi::kTransportFailed);
    EXPECT_EQ(ra.lastError(), "host0 did not answer in time")
        << "a recorded failure keeps its message";
    ASSERT_EQ(rb.submit(cmd), 0);
    EXPECT_EQ(byte, 2);

    std::vector<unsigned char> response(8);
    unsigned char request[4] = {0x40, 0x10, 0, 0};
    kvi::SmpCommand smp = smpRequest(request, response);
    kvi::SmpCommand wrong = smp;
    unsigned char other[4] = {0x40, 0x11, 0, 0};
    wrong.request = other;
    kvi::ReplayBackend rc(log, 1);
    ASSERT_EQ(rc.submit(cmd), 0);
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
