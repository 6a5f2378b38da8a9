// kvictl show [SECTION...|all]: the report sections of the controller-data
// layer, each built once as a document and rendered as text or JSON.
#include <CLI/CLI.hpp>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "RaidLib/RaidFw/ReportSections.h"
#include "cli/App.h"
#include "cli/Args.h"

namespace cli {

namespace {

// The sections a token names: one, or every section but summary for "all".
std::vector<const ReportSection*> sectionsOf(const std::string& token) {
    std::vector<const ReportSection*> out;
    for (const ReportSection& s : kReportSections)
        if (token == s.token || (token == "all" && std::string(s.token) != "summary"))
            out.push_back(&s);
    if (out.empty()) {
        std::string names;
        for (const ReportSection& s : kReportSections)
            names += std::string(names.empty() ? "" : ", ") + s.token;
        throw UsageError("show: unknown section '" + token + "' (sections: " + names + ", all)");
    }
    return out;
}

// Builds one section and emits it; a failed section keeps the members written
// before the failure, and the controller's messages name the status. JSON adds
// the typed values of the members as the section's last member.
void showSection(App& app, Target& t, const ReportSection& s) {
    json::Object body;
    int rc = (t.adapter->*s.build)(body);
    if (app.json())
        body["values"] = kvi::reports::typedValues(*s.values, body);
    app.emit(t, "", s.title, body);
    if (rc != 0)
        app.fail(t, "section " + std::string(s.title), rc);
}

} // namespace

void registerShow(CLI::App& root, App& app) {
    auto* sub =
        root.add_subcommand("show", "Show report sections of the controller (default: summary)");
    auto tokens = std::make_shared<std::vector<std::string>>();
    std::string list;
    for (const ReportSection& s : kReportSections)
        list += std::string("  ") + s.token + std::string(14 - std::string(s.token).size(), ' ') +
                s.title + "\n";
    std::vector<std::string> words;
    for (const ReportSection& s : kReportSections)
        words.push_back(s.token);
    words.push_back("all");
    app.complete(
        sub->add_option("sections", *tokens, "Section tokens, or all (every section but summary)")
            ->type_name("SECTION|all")
            ->check(checkedBy([](const std::string& w) { sectionsOf(w); })),
        words);
    sub->footer("Sections:\n" + list +
                "\nExamples:\n  kvictl --sim show\n  kvictl --sim show all\n"
                "  kvictl --sim -o json show status bus");
    sub->callback([&app, tokens] {
        auto chosen = std::make_shared<std::vector<const ReportSection*>>();
        Command c;
        c.name = "show";
        c.validate = [tokens, chosen] {
            for (const std::string& w :
                 tokens->empty() ? std::vector<std::string>{"summary"} : *tokens) {
                std::vector<const ReportSection*> sections = sectionsOf(w);
                chosen->insert(chosen->end(), sections.begin(), sections.end());
            }
        };
        c.run = [&app, chosen](Target& t) {
            for (const ReportSection* s : *chosen)
                showSection(app, t, *s);
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
