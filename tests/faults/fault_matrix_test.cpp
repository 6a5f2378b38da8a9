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
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/cli/Run.h"
#include "tests/support/ScratchDir.h"

namespace {

using clitest::readFile;
using clitest::Result;
using nlohmann::json;

// Invalid parameter, no hardware present, a status without a name, and the catch-all 0xFF.
const std::pair<int, const char*> kStatuses[] = {{0x03, "KVI_STAT_INVALID_PARAMETER"},
                                                 {0x22, "KVI_STAT_NO_HW_PRESENT"},
                                                 {0x04, "0x04"},
                                                 {0xFF, "KVI_STAT_INVALID_STATUS"}};

struct CommandCase {
    std::string name; // test name
    std::string args; // after the global options
    bool changes;     // the command changes controller state
    bool checksState; // a state file is kept and compared (changing and a few read-only ones)
};

std::vector<CommandCase> commands() {
    std::vector<CommandCase> c;
    std::istringstream sections("summary basic version bus images dual-images status adapter-ops "
                                "pd-ops vd-ops ekm hwcfg policies boot ha tasks secure-boot");
    for (std::string s; sections >> s;) {
        std::string name = "show_" + s;
        std::replace(name.begin(), name.end(), '-', '_'); // test names are identifiers
        c.push_back({name, "show " + s, false, s == "summary"});
    }
    const CommandCase rest[] = {
        // clang-format off
        {"list", "list", false, true}, {"properties", "properties", false, false},
        {"get", "get rebuild-rate patrol-read-rate", false, false}, {"alarm", "alarm", false, false},
        {"bbu", "bbu", false, true}, {"bios", "bios", false, false}, {"boot", "boot", false, false},
        {"events_info", "events info", false, false}, {"events_list", "events list", false, true},
        {"capture", "capture", false, false}, {"patrol", "patrol", false, false}, {"cc", "cc", false, false},
        {"rules", "rules", false, false}, {"topology", "topology", false, false}, {"security", "security", false, false},
        {"raw", "raw KV_CTRL_PROP", false, false}, {"metrics", "metrics", false, false}, {"check", "check", false, false},
        {"set", "set rebuild-rate=40", true, true}, {"bios_set", "bios set error-mode=pause", true, true},
        {"bbu_set", "bbu set auto-learn=disabled", true, true}, {"patrol_start", "patrol start", true, true},
        {"patrol_set", "patrol set mode=auto delay=168", true, true}, {"cc_set", "cc set mode=concurrent delay=672", true, true},
        {"boot_set", "boot set vd=1", true, true}, {"alarm_silence", "alarm silence", true, true},
        {"events_clear", "-y events clear", true, true}, {"flush_cache", "flush-cache", true, true},
        {"topology_set_mux", "topology set-mux 0 2", true, true}, {"capture_start", "capture start", true, true},
        // clang-format on
    };
    c.insert(c.end(), std::begin(rest), std::end(rest));
    return c;
}

// Failures whose message does not name the firmware status yet: setPrMode
// chooses the schedule record by a capability bit of the controller
// information and refuses with -1 when that read, or the patrol-read
// properties read, fails. They must still exit 1 with a message; remove an
// entry once its message names the status.
bool knownGap(const std::string& command, std::uint32_t opcode) {
    return command == "patrol_set" && (opcode == 0x01010000 || opcode == 0x01070200);
}

std::vector<std::string> keysOf(const json& object) {
    std::vector<std::string> keys;
    for (auto it = object.begin(); it != object.end(); ++it)
        keys.push_back(it.key());
    return keys;
}

bool isSubsequence(const std::vector<std::string>& part, const std::vector<std::string>& whole) {
    std::size_t j = 0;
    for (const std::string& k : part) {
        while (j < whole.size() && whole[j] != k)
            ++j;
        if (j++ == whole.size())
            return false;
    }
    return true;
}

// Every message code and text of the envelope (top level and per controller).
std::string messageTexts(const json& doc) {
    std::string all;
    json lists = json::array({doc.value("messages", json::array())});
    for (const json& c : doc.value("controllers", json::array()))
        lists.push_back(c.value("messages", json::array()));
    for (const json& list : lists)
        for (const json& m : list)
            all += m.value("code", "") + " " + m.value("text", "") + "\n";
    return all;
}

// The state as the simulator saved it, without the controller clock: the
// simulator stamps its clock into KV_CTRL_INFO.currentFwTime (offset 1460)
// whenever it answers the information read, which is no change a command made.
json comparableState(const std::string& text) {
    json state = json::parse(text);
    for (json& c : state["controllers"]) {
        std::string info = c["blocks"]["KV_CTRL_INFO"].get<std::string>();
        if (info.size() >= 2 * 1464)
            info.replace(2 * 1460, 8, "00000000");
        c["blocks"]["KV_CTRL_INFO"] = info;
    }
    return state;
}

void PrintTo(const CommandCase& c, std::ostream* os) {
    *os << c.name;
}

class FaultMatrix : public testing::TestWithParam<CommandCase> {
protected:
    // kvictl on `profile` (and `state` unless empty), in JSON where the command has it.
    Result run(const std::string& profile, const std::string& state,
               const std::string& extra = "") {
        const CommandCase& c = GetParam();
        const bool isJson = c.name != "metrics" && c.name != "check";
        return clitest::runKvictl(clitest::shellWords(
            "--sim=" + profile + (state.empty() ? "" : " --sim-state " + state) + extra +
            (isJson ? " -o json " : " ") + c.args));
    }

    // The state a profile starts from, as the simulator saves it: a changing
    // command with -c naming a controller that does not exist sends nothing
    // and keeps the fresh state.
    std::string initialState(const std::string& profile, const std::string& state) {
        Result r = clitest::runKvictl(
            {"--sim=" + profile, "--sim-state", state, "-c", "99", "set", "rebuild-rate=30"});
        EXPECT_EQ(r.exitCode, 2) << r.err;
        EXPECT_TRUE(std::filesystem::exists(state))
            << "no state file after a run that sent nothing";
        return readFile(state);
    }

    kvitest::ScratchDir dir_{"kvictl-faults"};
};

TEST_P(FaultMatrix, EveryOpcodeFailingWithEveryStatus) {
    const CommandCase& cmd = GetParam();
    const bool isJson = cmd.name != "metrics" && cmd.name != "check";
    const bool plugin = cmd.name == "check";
    const std::string section = cmd.args.rfind("show ", 0) == 0 ? cmd.args.substr(5) : "";

    // The healthy run: its requests, its output.
    const std::string healthyProfile = dir_.file("healthy.json");
    clitest::writeFile(healthyProfile, R"({"base": "default"})");
    const std::string healthyState = dir_.file("healthy-state.json");
    if (cmd.checksState)
        initialState(healthyProfile, healthyState);
    const std::string capture = dir_.file("healthy.jsonl");
    const Result healthy =
        run(healthyProfile, cmd.checksState ? healthyState : "", " --record " + capture);
    ASSERT_EQ(healthy.exitCode, 0) << healthy.err << healthy.out;
    const json healthyDoc = isJson ? json::parse(healthy.out) : json();

    // Opcodes in the order they are first sent; and where the first request
    // that may change something stands.
    std::vector<std::uint32_t> opcodes;
    std::map<std::uint32_t, std::size_t> firstAt;
    std::size_t requests = 0, firstChange = SIZE_MAX;
    std::istringstream lines(readFile(capture));
    for (std::string line; std::getline(lines, line);) {
        const json j = json::parse(line);
        if (j.value("type", "") != "dcmd")
            continue;
        const auto opcode =
            static_cast<std::uint32_t>(std::stoul(j.value("opcode", ""), nullptr, 16));
        if (firstAt.emplace(opcode, requests).second)
            opcodes.push_back(opcode);
        if (j.value("direction", "") != "read" && firstChange == SIZE_MAX)
            firstChange = requests;
        ++requests;
    }
    ASSERT_FALSE(opcodes.empty()) << "the command sent nothing";

    for (std::uint32_t opcode : opcodes) {
        char hex[16];
        std::snprintf(hex, sizeof hex, "0x%08X", opcode);
        for (const auto& [code, name] : kStatuses) {
            SCOPED_TRACE(cmd.name + ": " + hex + " failing with " + name);
            const std::string profile = dir_.file("fault.json");
            clitest::writeFile(profile, std::string(R"({"base": "default", "fail": {")") + hex +
                                            "\": " + std::to_string(code) + "}}");
            std::string state, before;
            if (cmd.checksState) {
                state = dir_.file("fault-state.json");
                std::filesystem::remove(state);
                before = initialState(profile, state);
            }
            const Result r = run(profile, state);
            ASSERT_LT(r.exitCode, 128) << "kvictl died: " << r.err;
            EXPECT_TRUE(r.exitCode <= (plugin ? 3 : 1)) << "exit " << r.exitCode << "\n" << r.err;
            const bool gap = knownGap(cmd.name, opcode);
            const bool named = !plugin && r.exitCode == 1 && !gap;
            if (gap) {
                EXPECT_EQ(r.exitCode, 1) << r.err;
                EXPECT_FALSE(r.err.empty());
            }
            if (named) {
                EXPECT_NE(r.err.find(name), std::string::npos) << "stderr misses it:\n" << r.err;
            }
            if (isJson) {
                json doc;
                ASSERT_NO_THROW(doc = json::parse(r.out)) << "not one JSON document:\n" << r.out;
                EXPECT_EQ(doc["kvictl"]["exit_status"].get<int>(), r.exitCode);
                if (named) {
                    EXPECT_NE(messageTexts(doc).find(name), std::string::npos)
                        << "no message names the status:\n"
                        << messageTexts(doc);
                }
                const json got = section.empty() || r.exitCode != 1
                                     ? json()
                                     : doc["controllers"][0].value("sections", json());
                if (got.size() == 1) {
                    const json& want = healthyDoc["controllers"][0]["sections"];
                    EXPECT_TRUE(isSubsequence(keysOf(got.front()), keysOf(want.front())))
                        << "partial section is not a part of the healthy one:\n"
                        << got.dump(2);
                }
            }
            const bool mustKeepState = !cmd.changes || firstAt[opcode] <= firstChange;
            if (cmd.checksState && mustKeepState && r.exitCode != 0) {
                EXPECT_TRUE(comparableState(readFile(state)) == comparableState(before))
                    << "the failed command changed the simulator state";
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Commands, FaultMatrix, testing::ValuesIn(commands()),
                         [](const testing::TestParamInfo<CommandCase>& info) {
                             return info.param.name;
                         });

} // namespace
