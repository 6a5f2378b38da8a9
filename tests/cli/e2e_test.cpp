// End-to-end tests of kvictl: the real binary against the simulator, with a
// fixed TZ and KVICTL_SIM_TIME. Golden files live in tests/golden/cli/;
// KVI_UPDATE_GOLDEN=1 rewrites them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "Run.h"
#include "tests/support/ScratchDir.h"

using clitest::Case;
using clitest::Result;
using clitest::runKvictl;
using clitest::RunOptions;

namespace {

struct GoldenCase {
    const char* name;
    const char* args;
    const char* input = "";  // stdin of the command (passphrases)
    const char* before = ""; // commands run first on the same --sim-state file (';' between)
};

#define PASS "correct horse 42\n"
#define PASSFILE "--passphrase-file -"
#define CREATE_KEY "security create " PASSFILE

// Every command group, in text and in JSON, on a fresh default controller.
const GoldenCase kGolden[] = {
    {"show_summary", "show"},
    {"show_all", "show all"},
    {"list", "list"},
    {"list_all3", "--sim-controllers 3 -c all list"},
    {"properties", "properties"},
    {"get", "get rebuild-rate ncq coercion-mode spin-down-time"},
    {"set", "set rebuild-rate=45 jbod=on cc-rate=30"},
    {"raw_ctrl_prop", "raw KV_CTRL_PROP"},
    {"alarm", "alarm"},
    {"alarm_silence", "alarm silence"},
    {"bbu", "bbu"},
    {"bbu_set", "bbu set auto-learn=disabled"},
    {"bios", "bios"},
    {"bios_set", "bios set error-mode=stop enabled=on"},
    {"boot", "boot"},
    {"boot_set", "boot set vd=1"},
    {"events_info", "events info"},
    {"events_count", "events count --class warning"},
    {"events_list", "events list"},
    {"capture", "capture"},
    {"capture_read", "capture read"},
    {"patrol", "patrol"},
    {"patrol_set", "patrol set mode=manual delay=24 'start=2024-03-01 02:00' exclude=2,7"},
    {"cc", "cc"},
    {"rules", "rules"},
    {"topology", "topology"},
    {"topology_set_link_speed", "topology set-link-speed 4 6"},
    {"security", "security"},
    {"flush_cache", "flush-cache"},
    {"restart_dry_run", "--dry-run restart"},
    {"shutdown_dry_run", "--dry-run shutdown"},
    {"metrics", "metrics"},
    {"metrics_entry", "--sim-profile entry metrics"}, // no battery, no alarm
    {"metrics_ha_member", "--sim-profile ha-member metrics"},
    {"metrics_previous_gen", "--sim-profile previous-gen metrics"}, // no controller sensor
    {"check", "check"},
    // Settings already held send nothing; a change sends only what differs,
    // carrying the other fields of the same record.
    {"cc_set_unchanged", "--dry-run cc set mode=sequential delay=672"},
    {"cc_set_dry_run", "--dry-run cc set mode=concurrent delay=24"},
    {"patrol_set_dry_run", "--dry-run patrol set mode=auto delay=24 max-concurrent=4"},
    {"bbu_set_dry_run", "--dry-run bbu set auto-learn=disabled"},
    // Changes stored and read back by a later run; what a dry run, a
    // shutdown, a restart or a capture leaves.
    {"get_after_set", "get rebuild-rate ncq", "", "set rebuild-rate=55 ncq=off"},
    {"bbu_after_dry_run", "bbu", "", "--dry-run bbu set auto-learn=disabled"},
    {"patrol_after_set", "patrol", "", "patrol set exclude=4,1"},
    {"events_list_after_show_all", "events list", "", "show all"}, // no NV cache erased
    {"security_rekeyed_shutdown", "security", PASS,
     CREATE_KEY "; security rekey " PASSFILE "; -y shutdown"},
    {"security_rekeyed_restart", "security", PASS,
     CREATE_KEY "; security rekey " PASSFILE "; -y restart"},
    {"events_list_after_shutdown", "events list --last 1", "", "-y shutdown"},
    {"events_list_after_restart", "events list --last 2", "", "-y restart"},
    {"capture_read_events", "capture read", "", "capture start; alarm silence; alarm on"},
    {"security_create", CREATE_KEY, PASS},
    {"security_verify", "security verify --passphrase-file -", PASS, CREATE_KEY},
    {"security_rekey", "security rekey --passphrase-file -", "battery staple 7\n", CREATE_KEY},
    {"security_restore", "security restore --passphrase-file -", PASS, CREATE_KEY},
    {"security_suggest", "security suggest"},
    {"security_destroy", "-y security destroy", PASS, CREATE_KEY},
    {"topology_phys", "topology phys"},
    {"topology_connectors", "topology connectors"},
    {"topology_mux", "topology mux"},
    {"topology_lanes", "topology lanes"},
    {"topology_set_mux", "topology set-mux 1 2"},
    {"topology_set_sas_address", "-y topology set-sas-address 0x5000d31f0a94c100"},
    {"capture_start", "capture start"},
    {"capture_stop", "capture stop", "", "capture start"},
    {"capture_disable", "capture disable"},
    {"capture_mode", "capture mode 1"},
    {"capture_filter", "capture filter 0x10 --fw"},
    {"capture_unfilter", "capture unfilter 0x10"},
    {"patrol_start", "patrol start"},
    {"patrol_stop", "patrol stop", "", "patrol start"},
    {"patrol_suspend", "patrol suspend", "", "patrol start"},
    {"patrol_resume", "patrol resume", "", "patrol start; patrol suspend"},
    {"cc_set", "cc set mode=concurrent delay=672 'start=2024-01-07 03:00'"},
    {"boot_set_pd", "boot set pd=12"},
    {"boot_clear", "boot clear"},
    {"alarm_on", "alarm on"},
    {"alarm_off", "alarm off"},
    {"bbu_learn", "bbu learn"},
    {"bbu_test", "bbu test"},
    {"events_clear", "-y events clear"},
    {"events_list_filtered", "events list --from 2 --max 3 --class info"},
    {"factory_defaults", "-y factory-defaults"},
    {"restart", "-y restart"},
    {"shutdown", "-y shutdown"},
};

// Runs a case after `globals`: its `before` steps first, on a state file that
// the case then runs on. "# exit N" and stdout.
std::string runGolden(const GoldenCase& c, const std::string& globals) {
    kvitest::ScratchDir dir("kvictl-golden");
    const std::string state = *c.before ? " --sim-state " + dir.file("state.json") : "";
    RunOptions o;
    o.input = c.input;
    std::string steps = c.before;
    for (std::size_t at = 0, end; at < steps.size(); at = end + 1) {
        end = std::min(steps.find(';', at), steps.size());
        Result r =
            runKvictl(clitest::shellWords("--sim" + state + " " + steps.substr(at, end - at)), o);
        EXPECT_EQ(r.exitCode, 0) << "step of " << c.name << ": " << r.err;
    }
    Result r = runKvictl(clitest::shellWords(globals + state + " " + c.args), o);
    // The JSON envelope repeats argv: keep the temporary path out of the golden file.
    for (std::size_t at; !state.empty() && (at = r.out.find(dir.path())) != std::string::npos;)
        r.out.replace(at, dir.path().size() + 11, "STATE.json");
    // A scrape's own durations vary from run to run.
    r.out = std::regex_replace(r.out, std::regex("(\n\\w+_duration_seconds(\\{[^}]*\\})?) [^\n]*"),
                               "$1 X");
    return "# exit " + std::to_string(r.exitCode) + "\n" + r.out;
}

void expectGolden(const std::string& name, const std::string& actual) {
    const std::string path = std::string(KVI_SOURCE_DIR) + "/tests/golden/cli/" + name;
    const char* update = std::getenv("KVI_UPDATE_GOLDEN");
    if (update != nullptr && std::string(update) == "1")
        return clitest::writeFile(path, actual);
    const std::string expected = clitest::readFile(path);
    ASSERT_FALSE(expected.empty()) << "missing " << path << " (run with KVI_UPDATE_GOLDEN=1)";
    EXPECT_EQ(expected, actual) << "output of " << name << " differs from its golden file";
}

void PrintTo(const GoldenCase& c, std::ostream* os) {
    *os << c.name;
}

class Golden : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(Golden, TextAndJsonMatchAndJsonIsOneDocument) {
    const GoldenCase& c = GetParam();
    const std::string text = runGolden(c, "--sim");
    expectGolden(std::string(c.name) + ".txt", text);
    const std::string json = runGolden(c, "--sim -o json");
    expectGolden(std::string(c.name) + ".json", json);
    if (std::string(c.name).rfind("metrics", 0) != 0) { // text only: in JSON a usage error
        EXPECT_EQ(text.substr(0, text.find('\n')), json.substr(0, json.find('\n')));
    }
    auto doc = nlohmann::json::parse(json.substr(json.find('\n'))); // one document, or this throws
    EXPECT_EQ("# exit " + doc["kvictl"]["exit_status"].dump(), json.substr(0, json.find('\n')));
}

INSTANTIATE_TEST_SUITE_P(EveryCommand, Golden, ::testing::ValuesIn(kGolden),
                         [](const ::testing::TestParamInfo<GoldenCase>& info) {
                             return std::string(info.param.name);
                         });

#define NOTHING_SENT "!\"type\":\"dcmd\""
// A usage error: one line on stderr holding `err`, and nothing sent.
#define REFUSED(name, args, err)                                                                   \
    { name, "--sim --record @C " args, 2, "", err, "", NOTHING_SENT }
#define SERIALS                                                                                    \
    R"("records": {"KV_MFC_MFG": {"sn": "MFG-SERIAL-01"},)"                                        \
    R"( "KV_CTRL_INFO": {"serialNo": "INFO-SERIAL-02"}})"
#define CC_CONCURRENT R"("records": {"KV_CC_SCHEDULE_PROPERTIES_EXT": {"opMode": 2, "maxLds": 4}})"
#define BERLIN_JULY "TZ=Europe/Berlin KVICTL_SIM_TIME=1782900000 "
#define BERLIN_JANUARY "TZ=Europe/Berlin KVICTL_SIM_TIME=1768474800 "
#define LEARN_JULY R"("records": {"KV_BBU_PROPERTIES": {"nextLearnTime": 836222400}})"
#define LEARN_JANUARY R"("records": {"KV_BBU_PROPERTIES": {"nextLearnTime": 821793600}})"

// Behaviour beyond the golden reports: refusals (before anything is sent, or
// before the write), settings changed only where they differ and only once
// stored, the same clock and times in every command and zone, the serial the
// report chooses, the controllers each command covers.
const Case kCases[] = {
    // Refused before anything is sent or the write goes out; one line on stderr.
    {"state file of another profile", "--sim --sim-profile entry --sim-state @S list", 2, "",
     "holds profile 'default', not 'entry'", "", "", "--sim --sim-state @S set rebuild-rate=30"},
    {"a refused state file is kept", "--sim --sim-state @S --record @C list", 0,
     "0      KV 9480-16i", "", "", "",
     "--sim --sim-state @S alarm on; !--sim --sim-profile entry --sim-state @S list"},
    {"state file of another controller count", "--sim --sim-state @S --sim-controllers 3 list", 2,
     "", "holds 1 controller, not 3", "", "", "--sim --sim-state @S alarm on"},
    {"mux beyond the controller's", "--sim --record @C topology set-mux 2 1", 2, "",
     "multiplexer 2 does not exist on controller 0 (multiplexers 0-1)", "", "!0x07020200"},
    REFUSED("mux beyond the index byte", "topology set-mux 256 1", "256 is out of range"),
    {"boot vd beyond the controller's", "--sim --record @C boot set vd=240", 2, "",
     "virtual drive 240 does not exist on controller 0 (target ids 0-239)", "", "!0x010C0200"},
    {"boot vd without virtual drives", "@P --record @C boot set vd=0", 2, "",
     "controller 0 has no virtual drives", R"("records": {"KV_CTRL_INFO": {"ldPresentCount": 0}})",
     "!0x010C0200"},
    REFUSED("unknown command", "frobnicate", "frobnicate"),
    REFUSED("unknown property", "set bogus=1", "unknown property 'bogus'"),
    REFUSED("out-of-range value", "set rebuild-rate=101", "out of range (0-100)"),
    {"a value at the top of its range", "--sim --dry-run set rebuild-rate=100", 0,
     "100 (not sent: dry run)"},
    REFUSED("out-of-range among valid", "set cc-rate=20 rebuild-rate=101", "out of range"),
    REFUSED("malformed time", "patrol set 'start=2025-02-30 10:00'", "not a local time"),
    {"last day of a month", "--sim --dry-run patrol set 'start=2025-01-31 10:00'", 0,
     "2025-01-31 10:00 (not sent: dry run)"},
    {"the first schedulable year", "--sim --dry-run patrol set 'start=2000-01-01 00:00'", 0,
     "2000-01-01 00:00 (not sent: dry run)"},
    {"a leap day", "--sim --dry-run patrol set 'start=2024-02-29 10:00'", 0,
     "2024-02-29 10:00 (not sent: dry run)"},
    // The zone puts the first event at local midnight.
    {"a day starts at midnight", "TZ=XXX-1:46:40 --sim events list --since 2023-11-14", 0,
     "1           2023-11-14 00:00:00"},
    REFUSED("verify takes no key id", "security verify --key-id rack1", "--key-id"),
    {"a zone offset without a colon", "--sim events list --since 2023-11-14T10:00+0100", 0,
     "Sequence"},
    {"link speed 3", "--sim --dry-run topology set-link-speed 1 3", 0,
     "mailbox 010200000000000000000000"},
    {"link speed 12", "--sim --dry-run topology set-link-speed 1 12", 0,
     "mailbox 010800000000000000000000"},
    {"a patrol read paused by the user", "@P patrol", 0, "State                 = user_paused", "",
     R"("records": {"KV_PR_STATUS": {"state": 4}})"},
    {"a battery of type 4", "@P bbu", 0, "Type                     = itbbu3", "",
     R"("records": {"KV_BBU_STATUS": {"batteryType": 4}})"},
    {"exclusions are read before a change", "--sim --sim-state @S --dry-run cc set exclude=4,1", 0,
     "exclude = 1,4 (unchanged)", "", "", "", "--sim --sim-state @S cc set exclude=4,1"},
    {"events count without the log information", "@P events count", 1, "",
     "reading the event log information failed", R"("fail": {"KV_DCMD_CTRL_EVENT_GET_INFO": 4})"},
    {"last schedulable year", "--sim --dry-run patrol set 'start=2105-12-31 23:59'", 0,
     "2105-12-31 23:59 (not sent: dry run)"},
    REFUSED("beyond the last schedulable year", "patrol set 'start=2106-01-01 00:00'",
            "not a local time"),
    {"events since the last readable year", "--sim events list --since 2105-12-31", 0, "Sequence"},
    {"alarm hardware absent", "@P alarm", 0, "State   = absent\nPresent = no\n", "",
     R"("alarm": "absent")"},
    REFUSED("phy index 99", "topology set-link-speed 99 6", "99 is out of range"),
    REFUSED("unknown speed", "topology set-link-speed 1 7", "speed"),
    REFUSED("mux mode beyond auto", "topology set-mux 0 4", "out of range (1-3)"),
    REFUSED("mux mode by an unknown name", "topology set-mux 0 fast",
            "not one of internal, external or auto"),
    {"passphrase of 40 characters", "--sim --record @C " CREATE_KEY, 2, "", "8 to 32 characters",
     "", NOTHING_SENT, "", "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\n"},
    REFUSED("missing -y off a terminal", "factory-defaults", "-y"),
    REFUSED("missing -y for events clear", "events clear", "-y"),
    REFUSED("unknown section", "show nonsense", "unknown section"),
    REFUSED("unknown event class", "events list --class loud", "event class"),
    {"a record read with mailbox zero", "--sim --record @C raw KV_CONFIG_ALLOWED_OPS", 0,
     "addConfig                = 1", "", "",
     R"("mbox":"000000000000000000000000","mboxAfter":"000000000000000000000000","name":"KV_DCMD_CFG_GET_ALLOWED_OPS")"},
    REFUSED("unknown record", "raw KV_NOTHING", "not a record"),
    REFUSED("two subcommands", "boot show clear", "not expected: clear"),
    {"simulator and device", "--sim --device /nonexistent/kv list", 2, "", "choose one backend"},
    {"unreadable profile", "--sim=/nonexistent/profile.json show", 2, "!K",
     "/nonexistent/profile.json: cannot open"},
    // A passphrase file written on another system ends in CR LF: the CR goes,
    // the 8 characters stay; verify asks with mailbox byte 0 = 0.
    {"a passphrase of 8 characters ending in CR LF",
     "--sim --sim-state @S --record @C security verify --passphrase-file -", 0, "Result = done", "",
     "",
     R"("mbox":"000000000000000000000000","mboxAfter":"000000000000000000000000","name":"KV_DCMD_CTRL_LOCK_KEY_VERIFY_ESCROW")",
     "--sim --sim-state @S " CREATE_KEY, "Abcdef1#\r\n"},
    {"firmware refuses a passphrase", "--sim security verify --passphrase-file -", 1, "",
     "failed: firmware status 0x06; run with --log", "", "", "", "correct horse\n"},
    {"no backend", "show", 3, "!K", "kvictl --sim"},
    {"no backend in JSON", "-o json show", 3, "\"exit_status\": 3"},
    {"an injected failure is named by its number", "@P show basic", 1, "",
     "failed: firmware "
     "status 0x04; run with --log FILE",
     R"("fail": {"0x010C0700": 4})"},
    {"a partial section and the later ones", "@P -o json show basic bus", 1,
     "\"Model\"\t!\"Mfg Date\"\t\"Bus\": {\t\"code\": \"0x04\"\t\"exit_status\": 1", "",
     R"("fail": {"0x010C0700": 4})"},
    // Output options in every spelling.
    {"usage error in JSON, -o joined", "--sim -ojson-compact show nonsense", 2, "\"exit_status\":2",
     "unknown section"},
    {"usage error in JSON, -o last", "--sim show nonsense -o json", 2, "\"exit_status\": 2"},
    {"--version", "--version", 0, "kvictl "},
    {"command help", "show --help", 0, "Examples:"},
    // Writes: the request, only what differs, only once stored.
    {"dry run lists the write and does not send it",
     "--sim --record @C --dry-run set "
     "rebuild-rate=77",
     0, "KV_DCMD_CTRL_PROPERTIES_SET (0x01020200)", "", "", "!0x01020200"},
    {"the same values again write nothing",
     "--sim --sim-state @S --record @C -o json set "
     "rebuild-rate=55 ncq=off",
     0, "\"changed\": false", "", "", "!0x01020200\t\"type\":\"dcmd\"",
     "--sim --sim-state @S set rebuild-rate=55 ncq=off"},
    {"cc delay alone", "@P cc set delay=24", 0,
     "Consistency Check Changed\n=========================\ndelay = 672 hours -> 24 hours\n", "",
     CC_CONCURRENT},
    {"cc start alone", "@P cc set 'start=2026-03-01 04:00'", 0,
     "start = 2026-01-18 03:00 -> 2026-03-01 04:00\n", "", CC_CONCURRENT},
    {"cc exclusions alone", "@P cc set exclude=2,1", 0, "exclude = none -> 1,2\n", "",
     CC_CONCURRENT},
    {"each alone keeps the concurrency", "@P --sim-state @S raw KV_CC_SCHEDULE_PROPERTIES_EXT", 0,
     "maxLds              = 4\n", "", CC_CONCURRENT, "",
     "@P --sim-state @S cc set delay=24; @P --sim-state @S cc set 'start=2026-03-01 04:00'; "
     "@P --sim-state @S cc set exclude=2,1"},
    {"an unreadable property is unknown and not written", "@P --record @C set rebuild-rate=50", 1,
     "Properties Unchanged\n====================\nrebuild-rate = unknown -> 50 (not written)\n",
     "reading rebuild-rate failed", R"("fail": {"0x01020100": 3})", "!0x01020200"},
    {"a refused write changes nothing", "@P --sim-state @S get rebuild-rate", 0,
     "rebuild-rate = 30 percent\n", "", R"("fail": {"0x01020200": 3})", "",
     "!@P --sim-state @S set rebuild-rate=50 cc-rate=30"},
    {"a refused write is no change, on one line",
     "@P -o json-compact set rebuild-rate=50 cc-rate=30", 1,
     R"("changes":[{"name":"rebuild_rate_percent","old":30,"new":50,"changed":false},)"
     R"({"name":"cc_rate_percent","old":30,"new":30,"changed":false}],"changed":false)"
     "\t!,\n",
     "", R"("fail": {"0x01020200": 3})"},
    {"the log file takes the adapter lines", "--sim --log @C --log-level 3 get rebuild-rate", 0, "",
     "!Entering", "", "Entering AdapterDataKvi::getRebuildRate"},
    // States and options by their names.
    {"battery degraded", "@P bbu", 0, "State                      = degraded\n", "",
     R"("records": {"KV_BBU_STATUS": {"fwStatus": 2}})"},
    {"patrol read aborted", "@P patrol", 0, "State                 = aborted\n", "",
     R"("records": {"KV_PR_STATUS": {"state": 255}})"},
    {"SSD patrol read already on", "@P --dry-run patrol set ssd=on", 0, "ssd = on (unchanged)\n",
     "", R"("records": {"KV_PR_PROPERTIES_EXT": {"options": 1}})"},
    // Record values outside their defined range are named, not guessed.
    {"strip code beyond 16 MiB", "@P rules", 0,
     "Max Strip Size              = unknown (code 40)\n\t! 0 bytes", "",
     R"("records": {"KV_CTRL_INFO": {"stripeSizeOptions.min": 0, "stripeSizeOptions.max": 40}})"},
    {"smallest strip code", "@P rules", 0, "Min Strip Size              = 512 bytes\n", "",
     R"("records": {"KV_CTRL_INFO": {"stripeSizeOptions.min": 0}})"},
    {"more connectors than the record holds", "@P topology connectors", 0,
     "  7                   internal\n", "states 12 connectors; its record holds 8",
     R"("records": {"KV_SAS_CONNECTORS": {"count": 12}})"},
    // Every field of the defaults and capabilities a different value, so a row
    // reading the wrong field, or a code taken through the wrong rule, shows.
    {"defaults and capabilities show the field each row names",
     "@P -o json show defaults capabilities", 0,
     R"("SAS Address": "5000d31f0a94c0ab"	"Strip Size Code": 9	"Write Policy Code": 2	)"
     R"("Read Policy Code": 2	"Cache Policy Code": 1	"Disk Cache Policy Code": 2	)"
     R"("Write Cache Bad BBU Code": 1	"Disk Certification Policy Code": 6	)"
     R"("Treat RAID1E As RAID10": "Yes"	"Spin Down Mode": "all"	"Default Max VDs per Array": 5	)"
     R"("Max Arms": 31	"Max Spans": 7	"Max Arrays": 127	"Max Virtual Drives": 239	)"
     R"("Max Drives": 238	"Max Configurable Drives": 237	"Max Dedicated Hot Spares": 15	)"
     R"("Max Global Hot Spares": 14	"Max VDs per Array": 13	"Min Strip Size Code": 6	)"
     R"("Max Strip Size Code": 12	"OEM Code": 7	)"
     "\"Supported RAID Levels\": [\n            \"RAID0\",\n            \"RAID5\",\n            "
     "\"RAID6\",\n            \"RAID10\",\n            \"RAID60\"\n          ],",
     "",
     R"("oem": 7, "records": {"KV_MFC_DEFAULTS": {"sasAddr": "0x5000d31f0a94c0ab", )"
     R"("stripeSize": 9, "writeBack": 2, "readAhead": 0, "cachedIo": 7, "cacheWhenBBUBad": 1, )"
     R"("allowUnCertifiedHDDs": 6, "treatR1EAsR10": 4, "spindownMode": 3, "maxLdsPerArray": 5},)"
     R"( "KV_CTRL_INFO": {"maxArms": 31, "maxSpans": 7, "maxArrays": 127, "maxLDs": 239, )"
     R"("maxPds": 238, "maxConfigurablePds": 237, "maxDedHSPs": 15, "maxGlobalHSPs": 14, )"
     R"("maxLdsPerArray": 13, "stripeSizeOptions.min": 6, "stripeSizeOptions.max": 12, )"
     R"("raidLevels.raidLevel_1": 0, "raidLevels.raidLevel_50": 0, )"
     R"("raidLevels.raidLevel_00_unsupported": 1}})"},
    // list, metrics and check cover every controller unless -c narrows them.
    {"list covers every controller", "--sim-controllers 3 --sim list", 0,
     "\n0      KV 9480-16i\t\n1      KV 9480-16i\t\n2      KV 9480-16i"},
    {"list -c 1", "--sim-controllers 3 --sim -c 1 list", 0,
     "!\n0      KV\t\n1      KV 9480-16i\t!\n2      KV"},
    {"metrics -c 1", "--sim-controllers 3 --sim -c 1 metrics", 0,
     "!kvictl_up{controller=\"0\"}\tkvictl_up{controller=\"1\"} 1\t!kvictl_up{controller=\"2\"}"},
    {"check -c 1", "--sim-controllers 3 --sim -c 1 check", 0, "!c0 KV\tc1 KV 9480-16i: ok\t!c2 KV"},
    {"no such controller", "--sim-controllers 3 --sim -c 3 list", 2, "", "no such controller"},
    // The serial number as the basic section words it: the controller
    // information's on OEM hosts, "NA" for the type that withholds it, else
    // the manufacturing record's.
    {"serial from the manufacturing record", "@P show basic", 0,
     "Serial Number                = MFG-SERIAL-01\n", "", SERIALS},
    {"list names the same serial", "@P list", 0, "  MFG-SERIAL-01  ", "", SERIALS},
    {"metrics names the same serial", "@P metrics", 0, "serial=\"MFG-SERIAL-01\"", "", SERIALS},
    {"serial withheld", "@P show basic", 0, "Serial Number                = NA\n", "",
     SERIALS R"(, "controllerType": 1)"},
    {"a withheld serial is null in JSON", "@P -o json list", 0, "\"serial_number\": null", "",
     SERIALS R"(, "controllerType": 1)"},
    {"a withheld serial in metrics", "@P metrics", 0, "serial=\"NA\"", "",
     SERIALS R"(, "controllerType": 1)"},
    {"serial on an OEM host", "@P show basic", 0, "Serial Number                = INFO-SERIAL-02\n",
     "", SERIALS R"(, "isOEMhp": true)"},
    {"list on an OEM host", "@P -o json list", 0, "\"serial_number\": \"INFO-SERIAL-02\"", "",
     SERIALS R"(, "isOEMhp": true)"},
    // The model as metrics and check take it, also when the manufacturing
    // record (and with it the serial) cannot be read.
    {"list model without the manufacturing record", "@P list", 1, "0      KV 9480-16i          5.",
     "reading the controller identity failed", R"("fail": {"KV_DCMD_CTRL_MFC_MFG_GET": 4})"},
    {"metrics model without the manufacturing record", "@P metrics", 0,
     "model=\"KV 9480-16i\",serial=\"\"", "", R"("fail": {"KV_DCMD_CTRL_MFC_MFG_GET": 4})"},
    // The controller clock in every reading, in summer and in winter.
    {"clock in summer", BERLIN_JULY "--sim show basic summary", 0,
     "Current Controller Date/Time = 07/01/2026, 12:00:00\n\tCurrent System Date/time     = "
     "07/01/2026, 12:00:00\n\tController Time     = 07/01/2026 12:00:00\n"},
    {"clock in winter", BERLIN_JANUARY "--sim show basic summary", 0,
     "Current Controller Date/Time = 01/15/2026, 12:00:00\n\tCurrent System Date/time     = "
     "01/15/2026, 12:00:00\n\tController Time     = 01/15/2026 12:00:00\n"},
    {"an event logged now in summer", BERLIN_JULY "--sim --sim-state @S events list", 0,
     " 12:00:00  info      0x0001  50      Alarm silenced", "", "", "",
     BERLIN_JULY "--sim --sim-state @S alarm silence"},
    {"an event logged now in winter", BERLIN_JANUARY "--sim --sim-state @S events list", 0,
     " 12:00:00  info      0x0001  50      Alarm silenced", "", "", "",
     BERLIN_JANUARY "--sim --sim-state @S alarm silence"},
    {"patrol start in summer", "TZ=Europe/Berlin --sim --sim-state @S -o json patrol", 0,
     "\"next_start\": \"2024-07-15T02:30:00+02:00\"", "", "", "",
     "TZ=Europe/Berlin --sim --sim-state @S patrol set 'start=2024-07-15 02:30'"},
    {"patrol start in winter", "TZ=Europe/Berlin --sim --sim-state @S -o json patrol", 0,
     "\"next_start\": \"2024-12-15T02:30:00+01:00\"", "", "", "",
     "TZ=Europe/Berlin --sim --sim-state @S patrol set 'start=2024-12-15 02:30'"},
    // The firmware counts the next learn in wall-clock seconds from local
    // midnight of 2000-01-01 in standard time: in Berlin 12:00 on both days.
    {"next learn in summer, JSON", "TZ=Europe/Berlin @P -o json bbu", 0,
     "\"next_learn_time\": \"2026-07-01T12:00:00+02:00\",\n\t"
     "\"next_learn_time_epoch_seconds\": 1782900000",
     "", LEARN_JULY},
    {"next learn in summer, report", "TZ=Europe/Berlin @P show tasks", 0,
     "Next Battery Learn             = 07/01/2026, 12:00:00\n", "", LEARN_JULY},
    {"next learn in summer, metric", "TZ=Europe/Berlin @P metrics", 0,
     "kvictl_battery_next_learn_timestamp_seconds{controller=\"0\"} 1782900000\n", "", LEARN_JULY},
    {"next learn in summer, POSIX zone", "TZ=CET-1CEST,M3.5.0,M10.5.0/3 @P metrics", 0,
     "kvictl_battery_next_learn_timestamp_seconds{controller=\"0\"} 1782900000\n", "", LEARN_JULY},
    {"next learn in winter, JSON", "TZ=Europe/Berlin @P -o json bbu", 0,
     "\"next_learn_time\": \"2026-01-15T12:00:00+01:00\",\n\t"
     "\"next_learn_time_epoch_seconds\": 1768474800",
     "", LEARN_JANUARY},
    {"next learn in winter, metric", "TZ=Europe/Berlin @P metrics", 0,
     "kvictl_battery_next_learn_timestamp_seconds{controller=\"0\"} 1768474800\n", "",
     LEARN_JANUARY},
    {"next learn in UTC, metric", "@P metrics", 0,
     "kvictl_battery_next_learn_timestamp_seconds{controller=\"0\"} 1782907200\n", "", LEARN_JULY},
};

// Every record `raw` names reads whole on the default profile or, for the
// short schedule forms, on the previous generation.
TEST(Cli, RawReadsEveryRecordItNames) {
    const std::string help = runKvictl({"raw", "--help"}).out;
    std::istringstream names(help.substr(help.find("Records: ") + 9));
    int records = 0;
    for (std::string name; names >> name && name != "Examples:"; ++records) {
        if (name.back() == ',')
            name.pop_back();
        EXPECT_TRUE(runKvictl({"--sim", "raw", name}).exitCode == 0 ||
                    runKvictl({"--sim=previous-gen", "raw", name}).exitCode == 0)
            << name;
    }
    EXPECT_GE(records, 28);
}

TEST(Cli, BehaviourTable) {
    for (const Case& c : kCases) {
        Result r = clitest::expectCase(c);
        if (c.exit == 2) { // a usage error is one line
            EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << c.name << ": " << r.err;
        }
    }
}

} // namespace
