#pragma once
// The report sections of `show`, in the order `show all` prints them.
#include <vector>

#include "RaidLib/RaidFw/AdpData.h"

namespace cli {

class App;
struct Target;

struct SectionInfo {
    const char* token; // command-line token
    const char* title; // text title and JSON key
    int (AdapterData::*build)(json::Object&);
};

const std::vector<SectionInfo>& sections();

// Builds one section and emits it; a failure keeps the partial section and
// names the status.
void showSection(App& app, Target& t, const SectionInfo& s);

} // namespace cli
