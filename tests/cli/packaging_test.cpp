// What kvictl ships beside the binary, all generated from its option table:
// help texts that name values in words, the man page, the bash and zsh
// completion scripts, and the files `cmake --install` puts in place.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <regex>
#include <sstream>

#include "Run.h"

namespace {

using namespace clitest;

// Every command path ("", "events", "events list", ...) with the
// subcommands its --help lists, down to the leaves; `help` gets each --help.
std::map<std::string, std::vector<std::string>>
commandTree(std::map<std::string, std::string>& help) {
    std::map<std::string, std::vector<std::string>> tree;
    std::vector<std::string> todo = {""};
    while (!todo.empty()) {
        const std::string path = todo.back();
        todo.pop_back();
        std::vector<std::string> args = shellWords(path);
        args.push_back("--help");
        Result r = runKvictl(args);
        EXPECT_EQ(r.exitCode, 0) << path;
        help[path] = r.out;
        std::vector<std::string>& subs = tree[path];
        std::istringstream in(r.out);
        bool inList = false;
        for (std::string line; std::getline(in, line);) {
            if (line == "Subcommands:") {
                inList = true;
            } else if (inList && line.rfind("  ", 0) == 0 && line[2] != ' ') {
                subs.push_back(line.substr(2, line.find(' ', 2) - 2));
                todo.push_back(path.empty() ? subs.back() : path + " " + subs.back());
            } else if (inList) {
                inList = false;
            }
        }
    }
    return tree;
}

std::string roff(const std::string& s) {
    std::string out;
    for (char c : s)
        out += c == '-' ? std::string("\\-") : std::string(1, c);
    return out;
}

// Runs a script in a shell; stdout is what it printed.
Result runShell(const std::string& shell, const std::string& script) {
    const std::string file = tempPath(shell + "-script");
    writeFile(file, script);
    Result r = runProgram({shell, file});
    std::remove(file.c_str());
    return r;
}

std::string shQuote(const std::string& word) {
    std::string out = "'";
    for (char c : word)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

// The words of a command line as bash hands them to a completion function:
// split at blanks and around '=' (COMP_WORDBREAKS); the last is the word
// being completed.
std::vector<std::string> bashWords(const std::string& line) {
    std::vector<std::string> out;
    std::istringstream in(line);
    for (std::string w; in >> w;) {
        std::string::size_type at;
        while ((at = w.find('=')) != std::string::npos) {
            if (at > 0)
                out.push_back(w.substr(0, at));
            out.push_back("=");
            w.erase(0, at + 1);
        }
        if (!w.empty())
            out.push_back(w);
    }
    if (line.back() == ' ')
        out.push_back("");
    return out;
}

// The candidates each shell offers for each command line (bash: COMPREPLY
// of _kvictl; zsh: the words _kvictl_walk finds that start with the word
// being completed, "@files" for file names), sorted, one list per line.
std::vector<std::vector<std::string>> complete(const std::string& shell,
                                               const std::vector<std::string>& lines) {
    Result script = runKvictl({"--generate-completion", shell});
    EXPECT_EQ(script.exitCode, 0);
    std::string s = shell == "zsh" ? "compdef() { :; }\n" : "";
    s += script.out + "\n";
    for (const std::string& line : lines) {
        if (shell == "bash") {
            std::vector<std::string> words = bashWords(line);
            s += "COMP_WORDS=(";
            for (const std::string& w : words)
                s += shQuote(w) + " ";
            s += ")\nCOMP_CWORD=" + std::to_string(words.size() - 1) +
                 "\n_kvictl\nprintf '%s\\n' \"${COMPREPLY[*]}\"\n";
        } else {
            std::vector<std::string> words;
            std::istringstream in(line);
            for (std::string w; in >> w;)
                words.push_back(shQuote(w));
            if (line.back() == ' ')
                words.push_back("''");
            std::string args;
            for (const std::string& w : words)
                args += " " + w;
            s += "_kvictl_walk" + args + "\nset --" + args +
                 "\nout=()\nfor v in ${=_kv_vals}; do\n"
                 "  if [[ $v == @files ]]; then out+=($v)\n"
                 "  elif [[ $_kv_prefix$v == \"${@[-1]}\"* ]]; then out+=(\"$_kv_prefix$v\"); fi\n"
                 "done\nprint -r -- \"$out\"\n";
        }
    }
    Result r = runShell(shell, s);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err, "");
    std::vector<std::vector<std::string>> out;
    std::istringstream in(r.out);
    for (std::string line; std::getline(in, line);) {
        std::vector<std::string> words;
        std::istringstream ws(line);
        for (std::string w; ws >> w;)
            words.push_back(w);
        std::sort(words.begin(), words.end());
        out.push_back(words);
    }
    out.resize(lines.size());
    return out;
}

// No help text names a value by the parser's type words or shows its
// validators' descriptions; every command is in the man page, and each
// level's subcommands are what both completions offer after it.
TEST(Docs, HelpManPageAndCompletionCoverEveryCommand) {
    std::map<std::string, std::string> help;
    const auto tree = commandTree(help);
    EXPECT_GT(tree.size(), 60u);
    const std::vector<std::string>& top = tree.at("");
    std::istringstream documented(
        "list show get set properties raw alarm bbu bios boot events capture patrol cc rules "
        "topology security flush-cache factory-defaults restart shutdown metrics check");
    for (std::string c; documented >> c;)
        EXPECT_NE(std::find(top.begin(), top.end(), c), top.end()) << c << " missing from --help";
    const std::regex parserWords(R"(\b(TEXT|UINT|INT|FLOAT|ENUM|BOOLEAN|NUMBER)\b|in \[|:\{)");
    Result man = runKvictl({"--generate-man"});
    ASSERT_EQ(man.exitCode, 0);
    // Options are listed with their value names; --help is left out.
    for (const char* option : {"--sim-state FILE", "--since TIME", "--interval SECONDS"})
        EXPECT_NE(man.out.find(".TP\n.B " + roff(option) + "\n"), std::string::npos) << option;
    EXPECT_EQ(man.out.find(".B " + roff("--help")), std::string::npos);
    EXPECT_NE(man.out.find("\n.RS\n.TP\n.B "), std::string::npos) << "option lists are indented";
    std::vector<std::string> lines;
    for (const auto& [path, subs] : tree) {
        SCOPED_TRACE("kvictl " + path);
        std::smatch m;
        EXPECT_FALSE(std::regex_search(help[path], m, parserWords)) << m.str() << "\n"
                                                                    << help[path];
        if (!path.empty()) {
            EXPECT_NE(man.out.find(".SS " + roff(path) + "\n"), std::string::npos)
                << "not in the man page";
        }
        if (!subs.empty())
            lines.push_back("kvictl " + path + (path.empty() ? "" : " "));
    }
    for (const char* shell : {"bash", "zsh"}) {
        auto got = complete(shell, lines);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            std::string path = lines[i].substr(7);
            if (!path.empty())
                path.pop_back();
            std::vector<std::string> want = tree.at(path);
            std::sort(want.begin(), want.end());
            EXPECT_TRUE(std::includes(got[i].begin(), got[i].end(), want.begin(), want.end()))
                << shell << ": '" << lines[i] << "'";
        }
    }
}

TEST(Docs, CompletionOfCommandLines) {
    const std::string dir = tempPath("completion");
    ::mkdir(dir.c_str(), 0700);
    writeFile(dir + "/cap1.jsonl", "");
    writeFile(dir + "/cap2.jsonl", "");
    struct Row {
        std::string line;               // completed at its end
        std::vector<std::string> reply; // what bash offers (after the last '=')
    };
    const std::vector<Row> rows = {
        // After global options and their values.
        {"kvictl -c 1 sh", {"show", "shutdown"}},
        {"kvictl --sim-state /tmp/x se", {"security", "set"}},
        {"kvictl --log show s", {"security", "set", "show", "shutdown"}}, // a value, not a command
        {"kvictl -y --dry-run --log-level 2 rest", {"restart"}},
        {"kvictl --sim --sim-controllers 2 -c all li", {"list"}},
        // Option values.
        {"kvictl -o ", {"json", "json-compact", "text"}},
        {"kvictl --output=json-", {"json-compact"}},
        {"kvictl -c ", {"all"}},
        {"kvictl --sim=", {"default", "entry", "ha-member", "previous-gen"}},
        {"kvictl --sim=pre", {"previous-gen"}},
        {"kvictl --record " + dir + "/ca", {dir + "/cap1.jsonl", dir + "/cap2.jsonl"}},
        {"kvictl --generate-completion z", {"zsh"}},
        {"kvictl events follow --class c", {"critical"}},
        // Options of a level and of the levels above it.
        {"kvictl -o json events list --c", {"--class", "--controller"}},
        {"kvictl events list --m", {"--max"}},
        // Arguments: sections, properties, settings and their values.
        {"kvictl --sim show s", {"secure-boot", "status", "summary"}},
        {"kvictl --sim show basic v", {"vd-ops", "version"}},
        {"kvictl get rebuild", {"rebuild-rate"}},
        {"kvictl set rebuild-r", {"rebuild-rate="}},
        {"kvictl set ncq=o", {"off", "on"}},
        {"kvictl bios set error-mode=s", {"safe-mode", "stop"}},
        {"kvictl bbu set auto-learn=d", {"disabled"}},
        {"kvictl patrol set mode=m", {"manual"}},
        {"kvictl cc set mode=c", {"concurrent"}},
        {"kvictl topology set-mux 0 ex", {"external"}},
        {"kvictl raw KV_BBU_S", {"KV_BBU_STATUS"}},
        {"kvictl capture f", {"filter"}},
    };
    std::vector<std::string> lines;
    for (const Row& r : rows)
        lines.push_back(r.line);
    const auto bash = complete("bash", lines);
    const auto zsh = complete("zsh", lines);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        SCOPED_TRACE(rows[i].line);
        std::vector<std::string> want = rows[i].reply;
        std::sort(want.begin(), want.end());
        EXPECT_EQ(bash[i], want) << "bash";
        // zsh completes the whole word and file names itself.
        const std::string& line = rows[i].line;
        const std::string cur = line.substr(line.rfind(' ') + 1);
        const std::string head =
            cur.find('=') == std::string::npos ? "" : cur.substr(0, cur.rfind('=') + 1);
        if (line.find(dir) != std::string::npos) {
            EXPECT_EQ(zsh[i], std::vector<std::string>{"@files"}) << "zsh";
            continue;
        }
        for (std::string& w : want)
            w = head + w;
        EXPECT_EQ(zsh[i], want) << "zsh";
    }
    Result syntax =
        runProgram({"zsh", "-n", "-c", runKvictl({"--generate-completion", "zsh"}).out});
    EXPECT_EQ(syntax.exitCode, 0) << syntax.err;
    for (const char* f : {"/cap1.jsonl", "/cap2.jsonl", ""})
        std::remove((dir + f).c_str());
}

// cmake --install puts the binary, the man page, both completions and the
// docs where a Debian system looks for them, and they work from there: the
// man page renders without a warning and has the sections a user command's
// page has.
TEST(Docs, InstallPutsEveryFileInPlace) {
    const std::string prefix = tempPath("install");
    Result install = runProgram({"cmake", "--install", KVI_BINARY_DIR, "--prefix", prefix});
    ASSERT_EQ(install.exitCode, 0) << install.err;
    Result list = runProgram({prefix + "/bin/kvictl", "--sim", "list"});
    EXPECT_EQ(list.exitCode, 0) << list.err;
    EXPECT_NE(list.out.find("\n0  "), std::string::npos) << list.out;
    const std::string page = prefix + "/share/man/man1/kvictl.1";
    EXPECT_EQ(readFile(page), runKvictl({"--generate-man"}).out);
    Result groff = runProgram({"groff", "-ww", "-man", "-z", page});
    EXPECT_EQ(groff.exitCode, 0);
    EXPECT_EQ(groff.err, "");
    RunOptions width;
    width.env["MANWIDTH"] = "80";
    Result man = runProgram({"man", "-l", page}, width);
    EXPECT_EQ(man.exitCode, 0);
    EXPECT_EQ(man.err, "");
    const std::string roff = readFile(page);
    EXPECT_NE(roff.find(".TH KVICTL 1 "), std::string::npos);
    std::string::size_type at = 0;
    for (const char* s : {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "COMMANDS", "EXIT STATUS",
                          "ENVIRONMENT", "FILES", "EXAMPLES"}) {
        at = roff.find(std::string(".SH ") + s + "\n", at);
        EXPECT_NE(at, std::string::npos) << s << " missing or out of order";
    }
    for (const char* s : {"KVICTL_DEVICE", "KVICTL_SIM_TIME", ".B TZ", ".B 5\n", "UNKNOWN"})
        EXPECT_NE(roff.find(s), std::string::npos) << s;
    Result bash = runShell("bash", "source '" + prefix +
                                       "/share/bash-completion/completions/kvictl' && complete -p "
                                       "kvictl\n");
    EXPECT_EQ(bash.out, "complete -F _kvictl kvictl\n") << bash.err;
    const std::string zsh = readFile(prefix + "/share/zsh/vendor-completions/_kvictl");
    EXPECT_EQ(zsh.rfind("#compdef kvictl\n", 0), 0u);
    EXPECT_NE(readFile(prefix + "/share/doc/kvictl/README.md").find("# kvictl"), std::string::npos);
    runProgram({"rm", "-rf", prefix});
}

} // namespace
