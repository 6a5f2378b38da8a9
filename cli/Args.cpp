#include "cli/Args.h"

namespace cli {

CLI::Validator checkedBy(std::function<void(const std::string&)> check) {
    // No description: help shows the type name alone.
    return CLI::Validator(
        [check](std::string& value) {
            check(value);
            return std::string();
        },
        "");
}

CLI::Validator unsignedIn(unsigned long long min, unsigned long long max, const std::string& what) {
    return checkedBy([=](const std::string& v) { parseUnsigned(v, min, max, what); });
}

CLI::Validator namedIn(const std::vector<NamedValue>& names, const std::string& what) {
    return checkedBy([=](const std::string& v) { parseNamed(v, names, what); });
}

std::vector<std::string> namesOf(const std::vector<NamedValue>& names) {
    std::vector<std::string> out;
    for (const NamedValue& n : names)
        out.push_back(n.name);
    return out;
}

} // namespace cli
