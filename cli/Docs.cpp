// The man page and the bash and zsh completion scripts, generated from the
// same option table that parses the command line (kvictl --generate-man,
// kvictl --generate-completion bash|zsh), so that neither can drift from
// what the program takes.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <ostream>

#include "cli/App.h"
#include "cli/Args.h"

namespace cli {

std::string valueName(const CLI::Option& option) {
    // The parser appends its validators' descriptions to the type name
    // ("UINT:INT in [1 - 256]"); help names the value in words only.
    std::string name = option.get_type_name();
    auto& o = const_cast<CLI::Option&>(option); // get_validator is not const here
    std::size_t described = 0;
    for (int i = 0;; ++i) {
        const CLI::Validator* v = nullptr;
        try {
            v = o.get_validator(i);
        } catch (const CLI::OptionNotFound&) {
            break;
        }
        const std::string d = v->get_description();
        if (!d.empty())
            described += d.size() + 1;
    }
    return name.substr(0, name.size() - std::min(described, name.size()));
}

bool takesValue(const CLI::Option& o) {
    // A flag expects no value (its type size need not be 0).
    return o.get_expected_max() != 0 && o.get_type_size() != 0;
}

std::string HelpFormatter::make_option_opts(const CLI::Option* o) const {
    if (!takesValue(*o))
        return "";
    std::string out = " " + valueName(*o);
    if (o->get_expected_max() == CLI::detail::expected_max_vector_size)
        out += " ...";
    if (o->get_required())
        out += " " + get_label("REQUIRED");
    return out;
}

namespace {

bool hidden(const CLI::Option* o) {
    return o->get_group().empty();
}

bool takesFiles(const CLI::Option* o) {
    const std::string v = valueName(*o);
    return v == "FILE" || v == "PATH" || v == "DIR";
}

std::string optionNames(const CLI::Option* o) {
    std::string s;
    for (const std::string& n : o->get_snames())
        s += (s.empty() ? "-" : ", -") + n;
    for (const std::string& n : o->get_lnames())
        s += (s.empty() ? "--" : ", --") + n;
    return s;
}

std::vector<std::string> optionWords(const CLI::Option* o) {
    std::vector<std::string> out;
    for (const std::string& n : o->get_snames())
        out.push_back("-" + n);
    for (const std::string& n : o->get_lnames())
        out.push_back("--" + n);
    return out;
}

// ---- man page ----

std::string roff(const std::string& text) {
    std::string out;
    bool lineStart = true;
    for (char c : text) {
        if (c == '\\')
            out += "\\e";
        else if (c == '-')
            out += "\\-";
        else if (lineStart && (c == '.' || c == '\''))
            out += "\\&" + std::string(1, c);
        else
            out += c;
        lineStart = c == '\n';
    }
    return out;
}

// Text that is set as one paragraph: blank lines would end it, and roff
// requests must not start a line.
std::string roffText(const std::string& text) {
    std::string out = roff(text);
    std::string::size_type at = 0;
    while ((at = out.find("\n\n", at)) != std::string::npos)
        out.replace(at, 2, "\n.br\n");
    return out;
}

void writeOptions(const CLI::App& app, std::ostream& os) {
    for (const CLI::Option* o : app.get_options()) {
        if (hidden(o) || o->get_name() == "--help")
            continue;
        os << ".TP\n.B " << roff(optionNames(o));
        if (takesValue(*o))
            os << " " << roff(valueName(*o));
        os << "\n" << roffText(o->get_description()) << "\n";
    }
}

void writeCommand(const CLI::App& sub, const std::string& prefix, std::ostream& os) {
    const std::string name = prefix.empty() ? sub.get_name() : prefix + " " + sub.get_name();
    std::string synopsis;
    for (const CLI::Option* o : sub.get_options()) {
        if (o->get_name() == "--help")
            continue;
        if (!o->get_lnames().empty() || !o->get_snames().empty()) {
            if (synopsis.empty())
                synopsis = " [options]";
            continue;
        }
        std::string v = valueName(*o);
        if (o->get_expected_max() == CLI::detail::expected_max_vector_size)
            v += "...";
        synopsis += " " + (o->get_required() ? v : "[" + v + "]");
    }
    os << ".SS " << roff(name) << "\n\\fBkvictl " << roff(name) << "\\fR" << roff(synopsis)
       << "\n.br\n"
       << roffText(sub.get_description()) << "\n";
    bool any = false;
    for (const CLI::Option* o : sub.get_options()) {
        if (o->get_name() == "--help" || (o->get_lnames().empty() && o->get_snames().empty()))
            continue;
        if (!any)
            os << ".RS\n";
        any = true;
        os << ".TP\n.B " << roff(optionNames(o));
        if (takesValue(*o))
            os << " " << roff(valueName(*o));
        os << "\n" << roffText(o->get_description()) << "\n";
    }
    if (any)
        os << ".RE\n";
    if (!sub.get_footer().empty())
        os << ".PP\n.nf\n" << roff(sub.get_footer()) << "\n.fi\n";
    for (const CLI::App* child : sub.get_subcommands({}))
        writeCommand(*child, name, os);
}

// ---- completion ----

// One command level: what may follow its name.
struct Level {
    std::string path; // "" for kvictl itself, "events list", ...
    std::string subs, opts, args;
    std::vector<std::pair<std::string, std::string>> values; // option name -> its words
};

std::string joined(const std::vector<std::string>& words) {
    std::string s;
    for (const std::string& w : words)
        s += (s.empty() ? "" : " ") + w;
    return s;
}

std::string wordsOf(const App& app, const CLI::Option* o) {
    if (const std::vector<std::string>* w = app.completionWords(o))
        return joined(*w);
    return takesFiles(o) ? "@files" : "";
}

void collect(const App& app, const CLI::App& cmd, const std::string& path,
             std::vector<Level>& out) {
    Level level;
    level.path = path;
    std::vector<std::string> subs, opts, args;
    for (const CLI::App* sub : cmd.get_subcommands({}))
        subs.push_back(sub->get_name());
    for (const CLI::Option* o : cmd.get_options()) {
        std::vector<std::string> names = optionWords(o);
        if (names.empty()) { // an argument
            const std::string w = wordsOf(app, o);
            if (!w.empty())
                args.push_back(w);
            continue;
        }
        if (!hidden(o))
            opts.insert(opts.end(), names.begin(), names.end());
        const std::string w = wordsOf(app, o);
        if (takesValue(*o)) {
            for (const std::string& n : names)
                level.values.emplace_back(n, w);
        } else if (!w.empty()) { // a flag that takes --flag=WORD
            for (const std::string& n : o->get_lnames())
                level.values.emplace_back("--" + n + "=", w);
        }
    }
    level.subs = joined(subs);
    level.opts = joined(opts);
    level.args = joined(args);
    out.push_back(level);
    for (const CLI::App* sub : cmd.get_subcommands({}))
        collect(app, *sub, path.empty() ? sub->get_name() : path + " " + sub->get_name(), out);
}

// Shell code both shells read alike: the table of levels and the walk over
// the words of a command line.
void writeCompletionCore(const App& app, CLI::App& root, std::ostream& os) {
    std::vector<Level> levels;
    collect(app, root, "", levels);
    os << "# _kvictl_level PATH: what may follow the command PATH (\"\" for kvictl,\n"
       << "# \"events list\", ...): _kv_subs its subcommands, _kv_opts its options,\n"
       << "# _kv_args the words of its arguments (@files: file names).\n"
       << "_kvictl_level() {\n"
       << "    case \"$1\" in\n";
    for (const Level& l : levels)
        os << "    \"" << l.path << "\") _kv_subs=\"" << l.subs << "\" _kv_opts=\"" << l.opts
           << "\" _kv_args=\"" << l.args << "\" ;;\n";
    os << "    *) _kv_subs=\"\" _kv_opts=\"\" _kv_args=\"\" ;;\n"
       << "    esac\n"
       << "}\n\n"
       << "# _kvictl_value PATH OPTION: _kv_vals, the words OPTION takes at that level\n"
       << "# (@files: file names); fails when it takes none there. \"--flag=\" names a\n"
       << "# flag that takes a word only as --flag=WORD.\n"
       << "_kvictl_value() {\n"
       << "    case \"$1|$2\" in\n";
    for (const Level& l : levels)
        for (const auto& [name, words] : l.values)
            os << "    \"" << l.path << "|" << name << "\") _kv_vals=\"" << words << "\" ;;\n";
    os << "    *) _kv_vals=\"\"; return 1 ;;\n"
       << "    esac\n"
       << "}\n\n"
       << "# Options of a command also work after its subcommands: look up the levels\n"
       << "# from PATH up to kvictl.\n"
       << "_kvictl_find() {\n"
       << "    local p=\"$1\"\n"
       << "    while :; do\n"
       << "        _kvictl_value \"$p\" \"$2\" && return 0\n"
       << "        [ -z \"$p\" ] && return 1\n"
       << "        case \"$p\" in *\" \"*) p=\"${p% *}\" ;; *) p=\"\" ;; esac\n"
       << "    done\n"
       << "}\n\n"
       << "# _kvictl_walk WORD...: the words of the command line up to the one being\n"
       << "# completed (the last). Sets _kv_vals to what that word may be and\n"
       << "# _kv_prefix to what stands before those words in it (\"--sim=\").\n"
       << "_kvictl_walk() {\n"
       << "    local kvpath=\"\" skip=0 w p cur opt=\"\"\n"
       << "    shift\n"
       << "    while [ $# -gt 1 ]; do\n"
       << "        w=\"$1\"\n"
       << "        shift\n"
       << "        if [ $skip = 1 ]; then\n"
       << "            skip=0\n"
       << "            continue\n"
       << "        fi\n"
       << "        case \"$w\" in\n"
       << "        -*=*) ;;\n"
       << "        -*) _kvictl_find \"$kvpath\" \"$w\" && skip=1 && opt=\"$w\" ;;\n"
       << "        *)\n"
       << "            _kvictl_level \"$kvpath\"\n"
       << "            case \" $_kv_subs \" in *\" $w \"*) kvpath=\"${kvpath:+$kvpath }$w\" ;; "
          "esac\n"
       << "            ;;\n"
       << "        esac\n"
       << "    done\n"
       << "    cur=\"$1\"\n"
       << "    _kv_prefix=\"\"\n"
       << "    if [ $skip = 1 ]; then\n"
       << "        _kvictl_find \"$kvpath\" \"$opt\"\n"
       << "        return 0\n"
       << "    fi\n"
       << "    case \"$cur\" in\n"
       << "    -*=*)\n"
       << "        p=\"${cur%%=*}\"\n"
       << "        _kv_prefix=\"$p=\"\n"
       << "        _kvictl_find \"$kvpath\" \"$p=\" || _kvictl_find \"$kvpath\" \"$p\"\n"
       << "        ;;\n"
       << "    -*)\n"
       << "        _kv_vals=\"\"\n"
       << "        p=\"$kvpath\"\n"
       << "        while :; do\n"
       << "            _kvictl_level \"$p\"\n"
       << "            _kv_vals=\"$_kv_vals $_kv_opts\"\n"
       << "            [ -z \"$p\" ] && break\n"
       << "            case \"$p\" in *\" \"*) p=\"${p% *}\" ;; *) p=\"\" ;; esac\n"
       << "        done\n"
       << "        ;;\n"
       << "    *)\n"
       << "        _kvictl_level \"$kvpath\"\n"
       << "        _kv_vals=\"$_kv_subs $_kv_args\"\n"
       << "        ;;\n"
       << "    esac\n"
       << "    return 0\n"
       << "}\n";
}

void writeBash(const App& app, CLI::App& root, std::ostream& os) {
    os << "# bash completion for kvictl (generated by kvictl --generate-completion bash)\n\n";
    writeCompletionCore(app, root, os);
    os << "\n"
       << "_kvictl() {\n"
       << "    local args=() w last=\"\" i cur head\n"
       << "    # bash splits words at '=' (COMP_WORDBREAKS): join --sim=PROFILE and\n"
       << "    # NAME=VALUE again.\n"
       << "    for ((i = 0; i <= COMP_CWORD; i++)); do\n"
       << "        w=\"${COMP_WORDS[i]}\"\n"
       << "        if ((i > 1)) && [[ $w == \"=\" || $last == \"=\" ]]; then\n"
       << "            args[${#args[@]}-1]+=\"$w\"\n"
       << "        else\n"
       << "            args+=(\"$w\")\n"
       << "        fi\n"
       << "        last=\"$w\"\n"
       << "    done\n"
       << "    cur=\"${args[${#args[@]}-1]}\"\n"
       << "    _kvictl_walk \"${args[@]}\"\n"
       << "    COMPREPLY=()\n"
       << "    if [[ \" $_kv_vals \" == *\" @files \"* ]]; then\n"
       << "        compopt -o filenames 2>/dev/null\n"
       << "        while IFS= read -r w; do\n"
       << "            COMPREPLY+=(\"$_kv_prefix$w\")\n"
       << "        done < <(compgen -f -- \"${cur#\"$_kv_prefix\"}\")\n"
       << "    else\n"
       << "        for w in $_kv_vals; do\n"
       << "            [[ $_kv_prefix$w == \"$cur\"* ]] && COMPREPLY+=(\"$_kv_prefix$w\")\n"
       << "        done\n"
       << "    fi\n"
       << "    # The word bash replaces starts after the last '=' of the line.\n"
       << "    if [[ $COMP_WORDBREAKS == *=* && $cur == *=* ]]; then\n"
       << "        head=\"${cur%=*}=\"\n"
       << "        COMPREPLY=(\"${COMPREPLY[@]#\"$head\"}\")\n"
       << "    fi\n"
       << "    if [[ ${#COMPREPLY[@]} == 1 && ${COMPREPLY[0]} == *= ]]; then\n"
       << "        compopt -o nospace 2>/dev/null\n"
       << "    fi\n"
       << "    return 0\n"
       << "}\n"
       << "complete -F _kvictl kvictl\n";
}

void writeZsh(const App& app, CLI::App& root, std::ostream& os) {
    os << "#compdef kvictl\n"
       << "# zsh completion for kvictl (generated by kvictl --generate-completion zsh)\n\n";
    writeCompletionCore(app, root, os);
    os << "\n"
       << "_kvictl() {\n"
       << "    local -a vals more\n"
       << "    local v\n"
       << "    _kvictl_walk \"${(@)words[1,CURRENT]}\"\n"
       << "    if [[ \" $_kv_vals \" == *\" @files \"* ]]; then\n"
       << "        [[ -n $_kv_prefix ]] && compset -P '*='\n"
       << "        _files\n"
       << "        return\n"
       << "    fi\n"
       << "    [[ -n $_kv_prefix ]] && compset -P '*='\n"
       << "    # Words ending in '=' want their value next, without a space.\n"
       << "    for v in ${=_kv_vals}; do\n"
       << "        if [[ $v == *= ]]; then more+=(\"$v\"); else vals+=(\"$v\"); fi\n"
       << "    done\n"
       << "    (( ${#vals} )) && compadd -a vals\n"
       << "    (( ${#more} )) && compadd -S '' -a more\n"
       << "    return 0\n"
       << "}\n\n"
       << "if [[ \"$funcstack[1]\" == _kvictl ]]; then\n"
       << "    _kvictl \"$@\"\n"
       << "else\n"
       << "    compdef _kvictl kvictl\n"
       << "fi\n";
}

} // namespace

void writeManPage(const App& app, CLI::App& root, std::ostream& os) {
    (void)app;
    os << ".TH KVICTL 1 \"\" \"kvictl " << roff(App::version()) << "\" \"User Commands\"\n"
       << ".SH NAME\nkvictl \\- manage RAID controllers of the direct-command firmware interface\n"
       << ".SH SYNOPSIS\n.B kvictl\n[\\-\\-sim[=\\fIPROFILE\\fR] | \\-\\-device \\fIPATH\\fR | "
          "\\-\\-replay \\fIFILE\\fR]\n[\\-\\-record \\fIFILE\\fR] "
          "[\\-c \\fIall\\fR|\\fIN\\fR] [\\-o text|json|json\\-compact]\n"
       << "[\\-\\-log \\fIFILE\\fR [\\-\\-log\\-level 0\\-4]] [\\-y] [\\-\\-dry\\-run]\n"
       << ".I command\n[\\fIarguments\\fR]\n"
       << ".SH DESCRIPTION\n"
       << roffText(root.get_description()) << "\n"
       << ".PP\nReports print as aligned text, or with \\fB\\-o json\\fR as one JSON document "
          "on standard output, also when the command fails. Messages go to standard error as "
          "one line that says what failed and what to do. Arguments are checked before any "
          "request is sent; \\fB\\-\\-dry\\-run\\fR shows the requests a command would send "
          "and sends none. Destructive actions ask on a terminal and need \\fB\\-y\\fR "
          "otherwise.\n"
       << ".SH OPTIONS\n";
    writeOptions(root, os);
    os << ".SH COMMANDS\n"
       << "Every command takes \\fB\\-\\-help\\fR, which prints its options and examples.\n";
    for (const CLI::App* sub : root.get_subcommands({}))
        writeCommand(*sub, "", os);
    os << ".SH EXIT STATUS\n"
       << ".TP\n.B 0\nsuccess\n"
       << ".TP\n.B 1\na controller or firmware request failed (the message names the status)\n"
       << ".TP\n.B 2\nusage error: unknown command, name or value, malformed time, missing "
          "\\fB\\-y\\fR; nothing was sent\n"
       << ".TP\n.B 3\nno controller reachable (no backend given, or none answered)\n"
       << ".TP\n.B 4\npermission denied (run as root)\n"
       << ".TP\n.B 5\noutput could not be written (standard output, the capture, the log or "
          "the simulator state); a change whose state could not be stored is reported as not "
          "kept\n"
       << ".PP\n\\fBcheck\\fR follows the monitoring-plugin convention instead:\n"
       << ".TP\n.B 0\nOK\n.TP\n.B 1\nWARNING\n.TP\n.B 2\nCRITICAL\n"
       << ".TP\n.B 3\nUNKNOWN, also for a usage error or a backend that cannot be opened\n"
       << ".SH ENVIRONMENT\n"
       << ".TP\n.B KVICTL_DEVICE\nthe management device used when \\fB\\-\\-device\\fR is not "
          "given\n"
       << ".TP\n.B KVICTL_SIM_TIME\nwith \\fB\\-\\-sim\\fR: the simulated controller clock and "
          "the tool's clock, in seconds since 1970, so that output repeats\n"
       << ".TP\n.B TZ\nthe time zone of the times kvictl reads and prints\n"
       << ".SH FILES\n"
       << ".TP\n.I /dev/kvictl0\nthe host driver's management device (see "
          "\\fB\\-\\-device\\fR)\n"
       << ".TP\n\\fB\\-\\-sim\\-state\\fR \\fIFILE\\fR\nthe simulator's state, replaced whole "
          "(temporary file, fsync, rename) only when it changed; mode 0600\n"
       << ".TP\n\\fIFILE\\fB.lock\\fR\nbeside a state file: the lock that serialises runs on "
          "it; mode 0600\n"
       << ".TP\n\\fB\\-\\-record\\fR \\fIFILE\\fR\na capture of every request and answer, "
          "renamed into place when the run ends; mode 0600\n"
       << ".TP\n\\fB\\-\\-log\\fR \\fIFILE\\fR\nthe debug log, appended; mode 0600\n"
       << ".TP\n\\fBmetrics \\-\\-textfile\\fR \\fIPATH\\fR\nthe metrics, replaced whole for "
          "the node exporter's textfile collector; mode 0644\n"
       << ".SH EXAMPLES\n"
       << ".nf\n"
       << roff(rootExamples()) << "\n"
       << ".fi\n";
}

void writeCompletion(const App& app, CLI::App& root, const std::string& shell, std::ostream& os) {
    if (shell == "zsh")
        writeZsh(app, root, os);
    else
        writeBash(app, root, os);
}

} // namespace cli
