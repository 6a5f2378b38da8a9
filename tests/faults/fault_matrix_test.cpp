// The fault matrix: every opcode a command sends is made to fail, with each
// status of a representative set, through the simulator's "fail" map; the
// kvictl binary must then
//   - not crash, and exit 1 (or 0 where the command does without that record),
//   - still print exactly one JSON document whose exit_status matches,
//   - name the status in a message (JSON and stderr) when it exits 1,
//   - keep a failed section's members a subsequence of the healthy ones (the
//     members written before the failure; members of optional records may be
//     left out on the way),
//   - leave the simulator's state file as it was: checked for every changing
//     command (when the failing request comes before the first request that
//     changes anything) and for a few read-only ones.
// The opcodes come from a capture of a healthy run of the same command.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/faults/Process.h"
#include "tests/support/ScratchDir.h"

namespace {

using faults::runKvictl;
using nlohmann::json;

struct Status {
    int code;
    const char* name;
};
// Invalid parameter, no hardware present, a status without a name, and the catch-all 0xFF.
const Status kStatuses[] = {
    {0x03, "KVI_STAT_INVALID_PARAMETER"},
    {0x22, "KVI_STAT_NO_HW_PRESENT"},
    {0x04, "0x04"},
    {0xFF, "KVI_STAT_INVALID_STATUS"},
};

struct CommandCase {
    std::string name;              // test name
    std::vector<std::string> args; // after the global options
    bool changes = false;          // the command changes controller state
    bool json = true;              // run with -o json
    bool plugin = false;           // exit codes follow the monitoring-plugin convention
    std::string section;           // `show` of one section: its title
};

std::vector<CommandCase> commands() {
    std::vector<CommandCase> c;
    const std::pair<const char*, const char*> sections[] = {
        {"summary", "Summary"},
        {"basic", "Basics"},
        {"version", "Version"},
        {"bus", "Bus"},
        {"images", "Pending Images"},
        {"dual-images", "Firmware Images"},
        {"status", "Status"},
        {"adapter-ops", "Supported Controller Operations"},
        {"pd-ops", "Supported Drive Operations"},
        {"vd-ops", "Supported Virtual Drive Operations"},
        {"ekm", "Key Management"},
        {"hwcfg", "Hardware Configuration"},
        {"policies", "Policies"},
        {"boot", "Boot"},
        {"ha", "High Availability"},
        {"tasks", "Scheduled Tasks"},
        {"secure-boot", "Secure Boot"},
    };
    for (const auto& s : sections) {
        CommandCase cc;
        cc.name = std::string("show_") + s.first;
        std::replace(cc.name.begin(), cc.name.end(), '-', '_'); // test names are identifiers
        cc.args = {"show", s.first};
        cc.section = s.second;
        c.push_back(cc);
    }
    auto add = [&c](std::string name, std::vector<std::string> args, bool changes = false) {
        CommandCase cc;
        cc.name = std::move(name);
        cc.args = std::move(args);
        cc.changes = changes;
        c.push_back(cc);
    };
    add("list", {"list"});
    add("properties", {"properties"});
    add("get", {"get", "rebuild-rate", "patrol-read-rate"});
    add("alarm", {"alarm"});
    add("bbu", {"bbu"});
    add("bios", {"bios"});
    add("boot", {"boot"});
    add("events_info", {"events", "info"});
    add("events_list", {"events", "list"});
    add("capture", {"capture"});
    add("patrol", {"patrol"});
    add("cc", {"cc"});
    add("rules", {"rules"});
    add("topology", {"topology"});
    add("security", {"security"});
    add("raw", {"raw", "KV_CTRL_PROP"});
    add("set", {"set", "rebuild-rate=40"}, true);
    add("bios_set", {"bios", "set", "error-mode=pause"}, true);
    add("bbu_set", {"bbu", "set", "auto-learn=disabled"}, true);
    add("patrol_start", {"patrol", "start"}, true);
    add("patrol_set", {"patrol", "set", "mode=auto", "delay=168"}, true);
    add("cc_set", {"cc", "set", "mode=concurrent", "delay=672"}, true);
    add("boot_set", {"boot", "set", "vd=1"}, true);
    add("alarm_silence", {"alarm", "silence"}, true);
    add("events_clear", {"-y", "events", "clear"}, true);
    add("flush_cache", {"flush-cache"}, true);
    add("topology_set_mux", {"topology", "set-mux", "0", "2"}, true);
    add("capture_start", {"capture", "start"}, true);
    {
        CommandCase m;
        m.name = "metrics";
        m.args = {"metrics"};
        m.json = false;
        c.push_back(m);
        CommandCase k;
        k.name = "check";
        k.args = {"check"};
        k.json = false;
        k.plugin = true;
        c.push_back(k);
    }
    return c;
}

// Failures whose message does not name the firmware status yet, each with the
// reason. They must still exit 1 with a message; remove an entry once its
// message names the status (the test then checks it like every other).
struct KnownGap {
    const char* command;
    std::uint32_t opcode;
    const char* why;
};
const KnownGap kKnownGaps[] = {
    // setPrMode chooses the schedule record by a capability bit of the
    // controller information; when that read fails it refuses with -1, so the
    // command reports "refused" instead of the information read's status.
    {"patrol_set", 0x01010000, "setPrMode answers -1 when the controller information read fails"},
    // The same when the patrol-read properties read fails.
    {"patrol_set", 0x01070200, "setPrMode answers -1 when the patrol-read properties read fails"},
};

const KnownGap* knownGap(const std::string& command, std::uint32_t opcode) {
    for (const KnownGap& g : kKnownGaps) {
        if (command == g.command && opcode == g.opcode) {
            return &g;
        }
    }
    return nullptr;
}

struct Request {
    std::uint32_t opcode = 0;
    std::string direction;
};

// The direct commands of a capture, in order.
std::vector<Request> requestsOf(const std::string& capture) {
    std::vector<Request> out;
    std::istringstream in(capture);
    std::string line;
    while (std::getline(in, line)) {
        const json j = json::parse(line);
        if (j.value("type", "") != "dcmd") {
            continue;
        }
        Request r;
        r.opcode =
            static_cast<std::uint32_t>(std::stoul(j.at("opcode").get<std::string>(), nullptr, 16));
        r.direction = j.value("direction", "");
        out.push_back(r);
    }
    return out;
}

std::string hex(std::uint32_t opcode) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", opcode);
    return text;
}

std::vector<std::string> keysOf(const json& object) {
    std::vector<std::string> keys;
    for (auto it = object.begin(); it != object.end(); ++it) {
        keys.push_back(it.key());
    }
    return keys;
}

bool isSubsequence(const std::vector<std::string>& part, const std::vector<std::string>& whole) {
    std::size_t j = 0;
    for (const std::string& k : part) {
        while (j < whole.size() && whole[j] != k) {
            ++j;
        }
        if (j == whole.size()) {
            return false;
        }
        ++j;
    }
    return true;
}

// Every message text of the envelope (top level and per controller).
std::string messageTexts(const json& doc) {
    std::string all;
    auto collect = [&all](const json& list) {
        for (const json& m : list) {
            all += m.value("code", "") + " " + m.value("text", "") + "\n";
        }
    };
    if (doc.contains("messages")) {
        collect(doc["messages"]);
    }
    for (const json& c : doc.value("controllers", json::array())) {
        if (c.contains("messages")) {
            collect(c["messages"]);
        }
    }
    return all;
}

// The state as the simulator saved it, without the controller clock: the
// simulator stamps its clock into KV_CTRL_INFO.currentFwTime (offset 1460)
// whenever it answers the information read, which is no change a command made.
json comparableState(const std::string& text) {
    json state = json::parse(text);
    for (json& c : state["controllers"]) {
        std::string info = c["blocks"]["KV_CTRL_INFO"].get<std::string>();
        if (info.size() >= 2 * 1464) {
            info.replace(2 * 1460, 8, "00000000");
        }
        c["blocks"]["KV_CTRL_INFO"] = info;
    }
    return state;
}

void PrintTo(const CommandCase& c, std::ostream* os) {
    *os << c.name;
}

class FaultMatrix : public testing::TestWithParam<CommandCase> {
protected:
    // Changing commands and a few read-only ones keep a state file and check
    // it; the other read-only commands run without one (half the runs).
    bool checksState() const {
        const CommandCase& c = GetParam();
        return c.changes || c.name == "show_summary" || c.name == "list" || c.name == "bbu" ||
               c.name == "events_list";
    }

    std::vector<std::string> argsFor(const std::string& profile, const std::string& state) const {
        std::vector<std::string> a{"--sim=" + profile};
        if (!state.empty()) {
            a.insert(a.end(), {"--sim-state", state});
        }
        if (GetParam().json) {
            a.insert(a.end(), {"-o", "json"});
        }
        a.insert(a.end(), GetParam().args.begin(), GetParam().args.end());
        return a;
    }

    // The state a profile starts from, as the simulator saves it: a changing
    // command with -c naming a controller that does not exist sends nothing
    // and keeps the fresh state.
    std::string initialState(const std::string& profile, const std::string& state) const {
        const faults::Run r = runKvictl(
            {"--sim=" + profile, "--sim-state", state, "-c", "99", "set", "rebuild-rate=30"});
        EXPECT_EQ(r.exitCode, 2) << r.err;
        EXPECT_TRUE(faults::fileExists(state)) << "no state file after a run that sent nothing";
        return faults::readFile(state);
    }

    kvitest::ScratchDir scratch_{"kvictl-faults"};
    const std::string dir_ = scratch_.path();
};

TEST_P(FaultMatrix, EveryOpcodeFailingWithEveryStatus) {
    const CommandCase& cmd = GetParam();

    // The healthy run: its requests, its output.
    const std::string healthyProfile = dir_ + "/healthy.json";
    faults::writeFile(healthyProfile, R"({"base": "default"})");
    const std::string healthyState = dir_ + "/healthy-state.json";
    initialState(healthyProfile, healthyState);
    const std::string capture = dir_ + "/healthy.jsonl";
    std::vector<std::string> args = argsFor(healthyProfile, healthyState);
    args.insert(args.begin(), {"--record", capture});
    const faults::Run healthy = runKvictl(args);
    ASSERT_EQ(healthy.exitCode, 0) << healthy.err << healthy.out;
    const std::vector<Request> requests = requestsOf(faults::readFile(capture));
    ASSERT_FALSE(requests.empty()) << "the command sent nothing";
    json healthyDoc;
    if (cmd.json) {
        healthyDoc = json::parse(healthy.out);
    }

    // Opcodes in the order they are first sent; and where the first request
    // that may change something stands.
    std::vector<std::uint32_t> opcodes;
    std::map<std::uint32_t, std::size_t> firstAt;
    std::size_t firstChange = requests.size();
    for (std::size_t i = 0; i < requests.size(); ++i) {
        if (!firstAt.count(requests[i].opcode)) {
            firstAt[requests[i].opcode] = i;
            opcodes.push_back(requests[i].opcode);
        }
        if (requests[i].direction != "read" && firstChange == requests.size()) {
            firstChange = i;
        }
    }

    std::ostringstream table;
    int runs = 0, tolerated = 0;
    for (std::uint32_t opcode : opcodes) {
        for (const Status& status : kStatuses) {
            SCOPED_TRACE(cmd.name + ": " + hex(opcode) + " failing with " + status.name);
            const std::string profile = dir_ + "/fault.json";
            faults::writeFile(profile, "{\"base\": \"default\", \"fail\": {\"" + hex(opcode) +
                                           "\": " + std::to_string(status.code) + "}}");
            std::string state, before;
            if (checksState()) {
                state = dir_ + "/fault-state.json";
                std::filesystem::remove(state);
                before = initialState(profile, state);
            }

            const faults::Run r = runKvictl(argsFor(profile, state));
            ++runs;
            ASSERT_EQ(r.signal, 0) << "kvictl died: " << r.err;
            if (cmd.plugin) {
                EXPECT_GE(r.exitCode, 0);
                EXPECT_LE(r.exitCode, 3) << r.err;
            } else {
                EXPECT_TRUE(r.exitCode == 0 || r.exitCode == 1) << "exit " << r.exitCode << "\n"
                                                                << r.err;
            }
            if (r.exitCode == 0) {
                ++tolerated;
            }
            table << "  " << hex(opcode) << " " << status.name << " -> exit " << r.exitCode << "\n";

            const KnownGap* gap = knownGap(cmd.name, opcode);
            if (gap != nullptr) {
                table << "    known gap: " << gap->why << "\n";
                EXPECT_EQ(r.exitCode, 1) << r.err;
                EXPECT_FALSE(r.err.empty());
            }
            if (!cmd.plugin && r.exitCode == 1 && gap == nullptr) {
                EXPECT_NE(r.err.find(status.name), std::string::npos)
                    << "stderr does not name the status:\n"
                    << r.err;
            }
            if (cmd.json) {
                json doc;
                ASSERT_NO_THROW(doc = json::parse(r.out)) << "not one JSON document:\n" << r.out;
                EXPECT_EQ(doc["kvictl"]["exit_status"].get<int>(), r.exitCode);
                if (r.exitCode == 1 && gap == nullptr) {
                    EXPECT_NE(messageTexts(doc).find(status.name), std::string::npos)
                        << "no message names the status:\n"
                        << messageTexts(doc);
                }
                if (!cmd.section.empty() && r.exitCode == 1) {
                    const json& got = doc["controllers"][0]["sections"];
                    const json& want = healthyDoc["controllers"][0]["sections"][cmd.section];
                    if (got.contains(cmd.section)) {
                        EXPECT_TRUE(isSubsequence(keysOf(got[cmd.section]), keysOf(want)))
                            << "partial section is not a part of the healthy one:\n"
                            << got[cmd.section].dump(2);
                    }
                }
            }

            const bool mustKeepState = !cmd.changes || firstAt[opcode] <= firstChange;
            if (checksState() && mustKeepState && r.exitCode != 0) {
                EXPECT_TRUE(comparableState(faults::readFile(state)) == comparableState(before))
                    << "the failed command changed the simulator state";
            }
        }
    }
    std::printf("%s: %zu opcodes, %d runs, %d tolerated (exit 0)\n%s", cmd.name.c_str(),
                opcodes.size(), runs, tolerated, table.str().c_str());
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultMatrix, testing::ValuesIn(commands()),
                         [](const testing::TestParamInfo<CommandCase>& info) {
                             return info.param.name;
                         });

} // namespace
