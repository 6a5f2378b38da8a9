#include "cli/App.h"

#include <pthread.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/Kvi/reports/Clock.h"
#include "cli/Args.h"
#include "cli/Gate.h"
#include "cli/RunFiles.h"
#include "cli/Util.h"
#include "firmware/kvi.h"
#include "firmware/kvistat.h"
#include "provider/Provider.h"
#include "sim/Simulator.h"
#include "transport/Session.h"
#include "util/Cleanup.h"
#include "json/TextWriter.h"

namespace cli {

namespace {

const char kVersion[] = "0.1.0";

const char kExamples[] = R"(kvictl --sim show all
kvictl --sim -o json show status bus
kvictl --sim --sim-controllers 3 list
kvictl --sim --sim-state /tmp/kv.json set rebuild-rate=50
kvictl --device /dev/kvictl0 events list --max 20
kvictl --device /dev/kvictl0 --record /tmp/kv.jsonl show all
kvictl --replay /tmp/kv.jsonl show all)";

std::string rootFooter() {
    std::string examples;
    for (char c : "  " + std::string(kExamples))
        examples += c == '\n' ? std::string("\n  ") : std::string(1, c);
    return R"(Backends:
  --sim[=PROFILE]      the built-in firmware simulator (profile: a bundled name or a JSON file)
  --device PATH        the host driver's management device (default: $KVICTL_DEVICE)
  --replay FILE        answer from a capture written with --record
  --record FILE        also write every request and answer of the run to FILE (any backend)

Examples:
)" + examples +
           R"(

Exit codes: 0 success, 1 a controller or firmware request failed, 2 usage error
(nothing was sent), 3 no controller reachable, 4 permission denied, 5 output could
not be written (stdout, capture, log or state file).)";
}

std::string joinWords(const std::vector<std::string>& words, const char* separator) {
    std::string s;
    for (const std::string& w : words)
        s += (s.empty() ? "" : separator) + w;
    return s;
}

bool isTerminal(int fd) {
    return ::isatty(fd) == 1;
}

} // namespace

const char* rootExamples() {
    return kExamples;
}

const char* App::version() {
    return kVersion;
}

CLI::Option* App::complete(CLI::Option* option, std::vector<std::string> words) {
    completions_[option] = std::move(words);
    return option;
}

const std::vector<std::string>* App::completionWords(const CLI::Option* option) const {
    auto it = completions_.find(option);
    return it == completions_.end() ? nullptr : &it->second;
}

App::App() = default;
App::~App() {
    for (auto& s : streams_)
        std::fclose(s.second);
}

std::string App::failureDocument(const std::string& code, const std::string& text,
                                 int exitStatus) const {
    if (!json())
        return "";
    json::Envelope doc(kVersion, argv_);
    doc.AddMessage(json::Envelope::Error, code, text);
    doc.SetExitStatus(exitStatus);
    std::ostringstream os;
    doc.Write(os, format_ == OutputFormat::JsonCompact ? json::JsonWriter::Compact
                                                       : json::JsonWriter::Pretty);
    return os.str();
}

std::ostream& App::out() {
    if (holding_)
        return held_;
    return std::cout;
}

void App::releaseHeld(bool stored) {
    if (!holding_)
        return;
    holding_ = false;
    // A change that was not stored is not reported as made.
    if (stored)
        std::cout << held_.str();
    held_.str("");
}

void App::setCommand(Command command) {
    command_ = std::make_unique<Command>(std::move(command));
}

void App::raiseExit(int code) {
    // The most serious outcome wins: permission and reachability over a
    // failed request, a failed request over success.
    if (code == kExitOk)
        return;
    if (exit_ == kExitOk || code > exit_)
        exit_ = code;
}

bool App::confirm(const std::string& question) {
    if (opt_.yes || opt_.dryRun)
        return true;
    if (!isTerminal(STDIN_FILENO)) {
        error("confirmation_required",
              question + ": refused without -y (stdin is not a terminal, so nothing can be asked)",
              kExitUsage);
        return false;
    }
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    if (!std::getline(std::cin, answer) || (answer != "y" && answer != "Y" && answer != "yes")) {
        error("not_confirmed", "not confirmed; nothing was sent", kExitUsage);
        return false;
    }
    return true;
}

// ---- argument handling ----

namespace {

// `--sim` takes an optional value, which an option parser cannot tell from a
// command word; rewrite it to a flag and a hidden --sim-profile before parsing.
std::vector<std::string> rewriteSim(const std::vector<std::string>& in) {
    std::vector<std::string> out;
    bool rest = false;
    for (const std::string& a : in) {
        if (!rest && a == "--") {
            rest = true;
        } else if (!rest && a.rfind("--sim=", 0) == 0) {
            out.push_back("--sim");
            out.push_back("--sim-profile");
            out.push_back(a.substr(6));
            continue;
        }
        out.push_back(a);
    }
    return out;
}

OutputFormat formatOf(const std::string& s) {
    if (s == "json")
        return OutputFormat::Json;
    if (s == "json-compact")
        return OutputFormat::JsonCompact;
    return OutputFormat::Text;
}

// -o before parsing, so that even a usage error answers with an envelope.
std::string scanOutput(const std::vector<std::string>& args) {
    std::string value = "text";
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if ((a == "-o" || a == "--output") && i + 1 < args.size())
            value = args[i + 1];
        else if (a.rfind("--output=", 0) == 0)
            value = a.substr(9);
        else if (a.rfind("-o", 0) == 0 && a.size() > 2 && a[2] != '-')
            value = a.substr(2);
    }
    return value;
}

} // namespace

int App::main(int argc, char** argv) {
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i)
        args.push_back(argv[i]);
    argv_.assign(argv, argv + argc);
    // The envelope names the tool, not the path it was started from, so that
    // output does not depend on where kvictl is installed.
    if (!argv_.empty())
        argv_[0] = "kvictl";
    kvi::cleanup::install();
    return run(args);
}

int App::run(const std::vector<std::string>& rawArgs) {
    std::vector<std::string> args = rewriteSim(rawArgs);
    format_ = formatOf(scanOutput(args));
    if (json())
        envelope_ = std::make_unique<json::Envelope>(kVersion, argv_);

    root_ = std::make_unique<CLI::App>(
        "kvictl manages RAID controllers that speak the direct-command firmware interface:\n"
        "identity, versions, health, battery, settings, schedules, topology and security keys.",
        "kvictl");
    CLI::App& app = *root_;
    app.fallthrough();
    app.require_subcommand(0, 1);
    app.set_version_flag("--version", std::string("kvictl ") + kVersion);
    app.footer(rootFooter());
    // Set before the commands are added, which take it over.
    app.formatter(std::make_shared<HelpFormatter>());
    app.get_formatter()->column_width(34);

    bool generateMan = false;
    std::string generateCompletion;
    const std::vector<std::string> profiles = kvi::sim::Simulator::bundledProfiles();
    const std::vector<std::string> formats = {"text", "json", "json-compact"};
    complete(app.add_flag("--sim", opt_.sim,
                          "Use the built-in simulator (--sim=PROFILE picks a profile)")
                 ->group("Backend"),
             profiles);
    app.add_option("--sim-profile", opt_.simProfile, "Simulator profile")
        ->type_name("PROFILE")
        ->group("");
    app.add_option("--sim-state", opt_.simState,
                   "Keep the simulator's state in FILE across invocations")
        ->type_name("FILE")
        ->group("Backend");
    app.add_option("--sim-controllers", opt_.simControllers, "Simulate N controllers (1-256)")
        ->type_name("N")
        ->check(unsignedIn(1, 256, "--sim-controllers"))
        ->group("Backend");
    app.add_option("--device", opt_.device,
                   "Management device of the host driver (default $KVICTL_DEVICE)")
        ->type_name("PATH")
        ->group("Backend");
    app.add_option("--replay", opt_.replay, "Answer requests from a capture file")
        ->type_name("FILE")
        ->group("Backend");
    app.add_option("--record", opt_.record, "Write every request and answer to a capture file")
        ->type_name("FILE")
        ->group("Backend");
    complete(app.add_option("-c,--controller", opt_.controller,
                            "Controller index N, or all. Default: all for list, metrics and "
                            "check; 0 for every other command")
                 ->type_name("all|N")
                 ->check(checkedBy([](const std::string& v) {
                     if (v.empty())
                         throw UsageError("-c: an empty value; give a controller number or all");
                     if (v != "all")
                         parseUnsigned(v, 0, 4095, "-c");
                 }))
                 ->group("Selection"),
             {"all"});
    complete(app.add_option("-o,--output", opt_.output, "Output format")
                 ->type_name(joinWords(formats, "|"))
                 ->check(checkedBy([formats](const std::string& v) {
                     if (std::find(formats.begin(), formats.end(), v) == formats.end())
                         throw UsageError("--output: '" + v + "' is not an output format (" +
                                          joinWords(formats, ", ") + ")");
                 }))
                 ->group("Output"),
             formats);
    app.add_option("--log", opt_.logFile, "Write the debug log to FILE")
        ->type_name("FILE")
        ->group("Output");
    complete(app.add_option("--log-level", opt_.logLevel, "Debug log level (default 3)")
                 ->type_name("0-4")
                 ->check(unsignedIn(0, 4, "--log-level"))
                 ->group("Output"),
             {"0", "1", "2", "3", "4"});
    app.add_flag("-y,--yes", opt_.yes, "Do destructive actions without asking")->group("Safety");
    app.add_flag("--dry-run", opt_.dryRun,
                 "Show the requests that would change the controller; send none")
        ->group("Safety");
    app.add_flag("--generate-man", generateMan, "Print the man page")->group("");
    complete(app.add_option("--generate-completion", generateCompletion,
                            "Print a completion script for bash or zsh")
                 ->type_name("bash|zsh")
                 ->check(checkedBy([](const std::string& v) {
                     if (v != "bash" && v != "zsh")
                         throw UsageError("--generate-completion: '" + v +
                                          "' is not a shell kvictl completes (bash, zsh)");
                 }))
                 ->group(""),
             {"bash", "zsh"});

    registerList(app, *this);
    registerShow(app, *this);
    registerProperties(app, *this);
    registerRaw(app, *this);
    registerAlarm(app, *this);
    registerBbu(app, *this);
    registerBios(app, *this);
    registerBoot(app, *this);
    registerEvents(app, *this);
    registerCapture(app, *this);
    registerPatrol(app, *this);
    registerCc(app, *this);
    registerRules(app, *this);
    registerTopology(app, *this);
    registerSecurity(app, *this);
    registerActions(app, *this);
    registerMetrics(app, *this);
    registerCheck(app, *this);

    std::vector<std::string> reversed(args.rbegin(), args.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        return kExitOk;
    } catch (const CLI::CallForAllHelp&) {
        std::cout << app.help("", CLI::AppFormatMode::All);
        return kExitOk;
    } catch (const CLI::CallForVersion&) {
        std::cout << "kvictl " << kVersion << "\n";
        return kExitOk;
    } catch (const CLI::ParseError& e) {
        // Help of a subcommand arrives as CallForHelp too; the rest are usage errors.
        if (e.get_exit_code() == 0) {
            return app.exit(e, std::cout, std::cerr);
        }
        std::string what = e.what();
        error("usage", what + "; run 'kvictl --help' for the commands and options", kExitUsage);
        writeEnvelope();
        return exit_;
    } catch (const UsageError& e) {
        // A value refused by an option's check (cli/Args.h).
        error("usage", std::string(e.what()) + "; nothing was sent", kExitUsage);
        writeEnvelope();
        return exit_;
    }

    if (generateMan) {
        writeManPage(*this, app, std::cout);
        return kExitOk;
    }
    if (!generateCompletion.empty()) {
        writeCompletion(*this, app, generateCompletion, std::cout);
        return kExitOk;
    }
    if (!command_) {
        std::cout << app.help();
        return kExitOk;
    }
    int rc = openAndRun();
    return rc;
}

} // namespace cli
