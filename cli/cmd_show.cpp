// kvictl show [SECTION...|all]: the report sections of the controller-data
// layer, each built once as a document and rendered as text or JSON.
#include <CLI/CLI.hpp>

#include "RaidLib/RaidFw/Kvi/ADataKvi.h"
#include "cli/App.h"
#include "cli/Sections.h"

namespace cli {

const std::vector<SectionInfo>& sections() {
    static const std::vector<SectionInfo> table = {
        {"summary", "Summary", &AdapterData::getBasicCtrlInfo},
        {"basic", "Basics", &AdapterData::getShowBasic},
        {"version", "Version", &AdapterData::getShowVersion},
        {"bus", "Bus", &AdapterData::getShowBus},
        {"images", "Pending Images", &AdapterData::getShowPendingImages},
        {"dual-images", "Firmware Images", &AdapterData::getShowDualImages},
        {"status", "Status", &AdapterData::getShowStatus},
        {"adapter-ops", "Supported Controller Operations",
         &AdapterData::getShowSupportedAdpOperations},
        {"pd-ops", "Supported Drive Operations", &AdapterData::getShowSupportedPDOperations},
        {"vd-ops", "Supported Virtual Drive Operations",
         &AdapterData::getShowSupportedVDOperations},
        {"ekm", "Key Management", &AdapterData::getSecureEKMSDetails},
        {"hwcfg", "Hardware Configuration", &AdapterData::getShowHwConfig},
        {"policies", "Policies", &AdapterData::getShowPolicies},
        {"boot", "Boot", &AdapterData::getShowBoot},
        {"ha", "High Availability", &AdapterData::getShowClusterInfo},
        {"tasks", "Scheduled Tasks", &AdapterData::getShowNextSchdTask},
        {"secure-boot", "Secure Boot", &AdapterData::getSecureBootDetails},
    };
    return table;
}

void showSection(App& app, Target& t, const SectionInfo& s) {
    json::Object body;
    int rc = (t.adapter->*s.build)(body);
    // A failed section keeps what it wrote before the failure.
    app.emit(t, "", s.title, body);
    if (rc != 0)
        app.fail(t, "section " + std::string(s.title), rc);
}

void registerShow(CLI::App& root, App& app) {
    auto* sub =
        root.add_subcommand("show", "Show report sections of the controller (default: summary)");
    auto tokens = std::make_shared<std::vector<std::string>>();
    std::string list;
    for (const SectionInfo& s : sections())
        list += std::string("  ") + s.token + std::string(14 - std::string(s.token).size(), ' ') +
                s.title + "\n";
    sub->add_option("sections", *tokens, "Section tokens, or all (every section but summary)");
    sub->footer("Sections:\n" + list +
                "\nExamples:\n  kvictl --sim show\n  kvictl --sim show all\n"
                "  kvictl --sim -o json show status bus");
    sub->callback([&app, tokens] {
        auto chosen = std::make_shared<std::vector<const SectionInfo*>>();
        Command c;
        c.name = "show";
        c.validate = [tokens, chosen] {
            std::vector<std::string> want = *tokens;
            if (want.empty())
                want.push_back("summary");
            for (const std::string& w : want) {
                if (w == "all") {
                    for (const SectionInfo& s : sections())
                        if (std::string(s.token) != "summary")
                            chosen->push_back(&s);
                    continue;
                }
                const SectionInfo* found = nullptr;
                for (const SectionInfo& s : sections())
                    if (w == s.token)
                        found = &s;
                if (found == nullptr) {
                    std::string names;
                    for (const SectionInfo& s : sections())
                        names += std::string(names.empty() ? "" : ", ") + s.token;
                    throw UsageError("show: unknown section '" + w + "' (sections: " + names +
                                     ", all)");
                }
                chosen->push_back(found);
            }
        };
        c.run = [&app, chosen](Target& t) {
            for (const SectionInfo* s : *chosen)
                showSection(app, t, *s);
        };
        app.setCommand(std::move(c));
    });
}

} // namespace cli
