#pragma once
// The kvictl application: global options, backend selection, one
// AdapterDataKvi per controller per invocation, the output envelope and the
// exit codes. Command groups (cmd_*.cpp) register their subcommands here and
// hand back a Command: a validation step that runs before anything is opened
// or sent, and a step that runs once per selected controller.
#include <cstdio>
#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "util/Files.h"
#include "json/Envelope.h"
#include "json/elements.h"

namespace CLI {
class App;
class Option;
} // namespace CLI
class AdapterDataKvi;
class BackendController;

namespace kvi {
class Backend;
}

namespace cli {

// Exit codes of the tool (see README "Exit codes").
enum ExitCode : int {
    kExitOk = 0,
    kExitFailed = 1,      // a controller or firmware request failed
    kExitUsage = 2,       // usage error; nothing was sent
    kExitUnreachable = 3, // no controller reachable
    kExitPermission = 4,  // permission denied
    kExitOutput = 5,      // output could not be written (stdout, capture, log, state file)
};

// A usage error found while validating arguments: exit 2, nothing sent.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class OutputFormat { Text, Json, JsonCompact };

struct GlobalOptions {
    bool sim = false;
    std::string simProfile = "default";
    std::string simState;
    unsigned simControllers = 0; // 0 = not given (1)
    std::string device;
    std::string replay;
    std::string record;
    std::string controller; // -c as given; empty = not given (see Command::allControllersByDefault)
    std::string output = "text";
    std::string logFile;
    int logLevel = 3;
    bool yes = false;
    bool dryRun = false;
};

class Gate;
struct Opened;

// One selected controller for the duration of a command.
struct Target {
    unsigned index = 0;
    kvi::Backend* backend = nullptr;
    Gate* gate = nullptr;
    BackendController* controller = nullptr;
    AdapterDataKvi* adapter = nullptr;
    json::Object* entry = nullptr; // the controller's JSON entry (JSON output) or a scratch object
    bool failed = false;
    // The controller status, read once (from the cached controller information)
    // before the command runs, so text and JSON send the same requests and agree.
    bool statusKnown = false;
    unsigned char status = 0;
    std::string statusName() const;
};

// What a subcommand does once its arguments are parsed.
struct Command {
    std::string name; // for messages ("show", "set", ...)
    // Checks and converts the arguments; throws UsageError. Runs before any
    // backend is opened, so a usage error never sends anything.
    std::function<void()> validate;
    // Runs once per selected controller, in index order.
    std::function<void(Target&)> run;
    // Runs after every controller (summary lines, streaming tails).
    std::function<void()> finish;
    // Destructive actions ask for confirmation (prompt on a terminal, -y otherwise).
    std::function<std::string()> confirmation; // the question; empty = nothing to confirm
    // Text output heads each controller's block with "Controller N" when
    // several are selected; commands that print one table turn this off.
    bool headers = true;
    // Without -c a command works on controller 0; list and the monitoring
    // commands (metrics, check) work on every controller instead.
    bool allControllersByDefault = false;
    // Files the command's own options name (option, path), checked with the
    // global ones: no two options may name one file.
    std::vector<std::pair<std::string, std::string>> files;
    // A command that watches (events follow) runs further rounds over the
    // selected controllers, `followSeconds` apart, until SIGINT or SIGTERM
    // ends it (exit 0) or a round fails. Nothing is held between rounds: each
    // round takes the simulator state's lock and reads the state afresh, so
    // commands on the same state file run in between. A replayed capture is
    // followed to its end without waiting. 0: one round.
    unsigned followSeconds = 0;
    // In JSON the command writes JSON Lines itself: no envelope is written and
    // no controller entry is kept (t.entry is a scratch object).
    bool jsonLines = false;
    // The command reports a controller status it cannot read in its own way
    // (metrics: a missing series; check: UNKNOWN), not as a failure of the run.
    bool ownStatusReport = false;
    // Failures found before any controller is read: usage errors, a backend,
    // capture or log that cannot be opened, no such controller. Unset, they
    // take exit status 2, 3 or 4 as the failure says. Set, the hook is called
    // with the message (also on stderr and in the JSON envelope) and its
    // result is the exit status: check prints its UNKNOWN line and gives 3.
    // A command that wants this for parse errors too sets a Command with the
    // hook from its subcommand's pre-parse callback.
    std::function<int(const std::string& message)> earlyFailure;
};

// A command whose arguments are checked before any controller is asked:
// `parse()` gives the settings, `apply(target, settings)` applies them.
template <typename Settings, typename Parse, typename Apply>
Command parsedCommand(const std::string& name, Parse parse, Apply apply) {
    auto settings = std::make_shared<Settings>();
    Command c;
    c.name = name;
    c.validate = [parse, settings] { *settings = parse(); };
    c.run = [apply, settings](Target& t) { apply(t, *settings); };
    return c;
}

class App {
public:
    App();
    ~App();
    App(const App&) = delete;
    App& operator=(const App&) = delete;

    int main(int argc, char** argv);

    // ---- for the command groups ----
    const GlobalOptions& options() const { return opt_; }
    bool json() const { return format_ != OutputFormat::Text; }
    // Text output goes here (stdout).
    std::ostream& out();
    // More than one controller is selected.
    bool several() const { return multi_; }
    // The JSON envelope of a run that ends with this one error message and
    // exit status, prepared in advance (check's timeout); empty in text output.
    std::string failureDocument(const std::string& code, const std::string& text,
                                int exitStatus) const;
    // Selects the command to run (called from a subcommand callback).
    void setCommand(Command command);

    // Text: the section title and its members. JSON: entry[key] = body, or
    // entry["sections"][title] = body when `key` is empty.
    void emit(Target& t, const std::string& key, const std::string& title,
              const json::Object& body);
    // Reports a failed operation of a controller: a one-line message on
    // stderr and in the controller's JSON messages; exit status 1.
    void fail(Target& t, const std::string& what, int status);
    // A note about a controller (stderr and JSON), without changing the exit status.
    void warn(Target& t, const std::string& code, const std::string& text);
    // A warning not tied to a controller; the exit status stays.
    void notice(const std::string& code, const std::string& text);
    // A failure not tied to a status (exit status `exitCode`).
    void error(const std::string& code, const std::string& text, int exitCode);

    // Name and description of a status returned by an operation.
    static std::string statusName(int status);
    std::string statusText(Target& t, int status) const;

    // Help texts and examples of every command, for --help, the man page and
    // completion.
    CLI::App& root() { return *root_; }
    // The words completion offers for an option's value or an argument (a
    // flag with words takes one as --flag=WORD). Returns the option.
    CLI::Option* complete(CLI::Option* option, std::vector<std::string> words);
    const std::vector<std::string>* completionWords(const CLI::Option* option) const;
    static const char* version();

    // A JSON array too large to hold: its elements go to a temporary file
    // while the command runs and are spliced into entry[key] on output.
    std::FILE* deferArray(Target& t, const std::string& key);
    void appendDeferred(std::FILE* f, const json::Object& element, bool first);

    int exitStatus() const { return exit_; }
    void raiseExit(int code);

private:
    int run(const std::vector<std::string>& args);
    int openAndRun();
    // Runs the command on one controller: a fresh BackendController and
    // AdapterDataKvi, its status (when `readStatus`), then the command.
    void runController(unsigned index, Gate& gate, bool changes, bool readStatus);
    // The further rounds of a command that watches (Command::followSeconds).
    void follow(Opened& o, const std::vector<unsigned>& selected,
                const std::function<void()>& round);
    void writeEnvelope();
    void writeWithStreams(const std::string& doc, std::ostream& os);
    bool confirm(const std::string& question);
    // Writes the held text output once the change is stored (drops it when not).
    void releaseHeld(bool stored);
    // Lists the requests a dry run held back instead of sending.
    void reportDryRun(Target& t, Gate& gate);

    GlobalOptions opt_;
    OutputFormat format_ = OutputFormat::Text;
    std::unique_ptr<CLI::App> root_;
    std::unique_ptr<Command> command_;
    std::unique_ptr<json::Envelope> envelope_;
    std::vector<std::string> argv_;
    int exit_ = kExitOk;
    bool multi_ = false; // more than one controller selected (text headers)
    bool firstBlock_ = true;
    bool controllersRead_ = false;       // the first controller has been worked on
    std::vector<json::Object*> entries_; // the controllers' JSON entries
    std::vector<std::pair<std::string, std::FILE*>> streams_;
    int streamError_ = 0;  // errno of the first failed write to a stream's scratch file
    bool holding_ = false; // text output is held until a change is stored
    std::ostringstream held_;
    std::string stateBefore_; // the simulator state as loaded (changing commands)
    std::unique_ptr<kvi::files::StateLock> stateLock_;
    std::map<const CLI::Option*, std::vector<std::string>> completions_;
};

// Registration of the command groups (one per cmd_*.cpp).
void registerShow(CLI::App& root, App& app);
void registerList(CLI::App& root, App& app);
void registerProperties(CLI::App& root, App& app);
void registerRaw(CLI::App& root, App& app);
void registerAlarm(CLI::App& root, App& app);
void registerBbu(CLI::App& root, App& app);
void registerBios(CLI::App& root, App& app);
void registerBoot(CLI::App& root, App& app);
void registerEvents(CLI::App& root, App& app);
void registerCapture(CLI::App& root, App& app);
void registerPatrol(CLI::App& root, App& app);
void registerCc(CLI::App& root, App& app);
void registerRules(CLI::App& root, App& app);
void registerTopology(CLI::App& root, App& app);
void registerSecurity(CLI::App& root, App& app);
void registerActions(CLI::App& root, App& app);
void registerMetrics(CLI::App& root, App& app);
void registerCheck(CLI::App& root, App& app);

// The examples of kvictl --help, also in the man page.
const char* rootExamples();

// Man page and bash and zsh completion from the option table (Docs.cpp).
void writeManPage(const App& app, CLI::App& root, std::ostream& os);
void writeCompletion(const App& app, CLI::App& root, const std::string& shell, std::ostream& os);
// An option's value in words ("N", "FILE", "all|N"): its type name without
// the parser's descriptions of its checks.
std::string valueName(const CLI::Option& option);
// The option takes a value (it is no flag).
bool takesValue(const CLI::Option& option);

} // namespace cli
